// Node kinds of the tests' own. Every id of a test namespace whose local id is below kFirstUnmade is a kind; the
// factory makes nothing for the others. Factory and destroyer write to the recorder of the document while `traced` is
// set.
#ifndef ARBTREE_TESTS_SUPPORT_ELEMENTS_H
#define ARBTREE_TESTS_SUPPORT_ELEMENTS_H

#include <cstdint>

#include "arbtree/arbtree.h"
#include "support/recorder.h"

namespace arbtree::test {

constexpr std::uint32_t kTestNamespace = 21;
constexpr std::uint32_t kFirstUnmade = 0x3000;

constexpr std::uint32_t elementId(std::uint32_t local, std::uint32_t ns = kTestNamespace, std::uint32_t top = 0) {
  return top << 26 | ns << 14 | local;
}

struct ElementNode {
  ArbNode node;
  std::uint32_t content;
};

std::uint32_t ARB_CALL makeElement(ArbTree* tree, std::uint32_t id, ArbNode** node);
std::uint32_t ARB_CALL destroyElement(ArbNode* node);

// A record of so many bytes for a node of this kind, which destroyElement gives back; null when there is no memory.
ArbNode* newElement(std::uint32_t id, std::size_t size);

// Records of newElement that are not given back.
std::uint64_t liveElements();

// Where factory and destroyer write; null: nowhere.
extern Recorder* elementTrace;

}  // namespace arbtree::test

#endif

// Node kinds whose attribute area matters: one kind with attribute functions, and for every byte count up to 64 one
// kind with a plain area of that size. The factory can be told to refuse.
#ifndef ARBTREE_TESTS_SUPPORT_ATTRIBUTE_KINDS_H
#define ARBTREE_TESTS_SUPPORT_ATTRIBUTE_KINDS_H

#include <cstdint>
#include <vector>

#include "arbtree/arbtree.h"
#include "support/elements.h"

namespace arbtree::test {

constexpr std::uint32_t kAttributeNamespace = 22;
constexpr std::uint32_t kAttributeKind = elementId(1, kAttributeNamespace);
constexpr std::uint32_t plainKind(std::uint32_t bytes) { return elementId(0x100 + bytes, kAttributeNamespace); }

constexpr std::uint32_t kAttributeCount = 4;
constexpr std::uint32_t kUncopied = 1;  // the index of the attribute whose id has the top byte 0x37
extern const ArbAttributeDef kAttributes[kAttributeCount];

// A node of kAttributeKind. Hash and equality look at `values` of the present attributes; `unseen` is in the area, but
// no operation touches it.
struct AttributeNode {
  ArbNode node;
  std::uint32_t present;  // bit i: attribute i
  std::uint32_t values[kAttributeCount];
  std::uint32_t unseen;
};
inline AttributeNode& asAttributes(ArbNode* node) { return *reinterpret_cast<AttributeNode*>(node); }

inline std::uint8_t* areaOf(ArbNode* node) { return reinterpret_cast<std::uint8_t*>(node) + sizeof(ArbNode); }

// Makes the kinds known to elemdefs and to the tree.
void addAttributeKinds(ArbTree* tree);

// While it lives the factory makes `passes` more nodes and then refuses.
class RefusingFactory {
 public:
  explicit RefusingFactory(std::uint32_t passes);
  ~RefusingFactory();
  RefusingFactory(const RefusingFactory&) = delete;
  RefusingFactory& operator=(const RefusingFactory&) = delete;
};

// The indices that setAttribute was called with since the last call.
std::vector<std::uint32_t> takeSetAttributes();

}  // namespace arbtree::test

#endif

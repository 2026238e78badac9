// The node of an element, a comment or a processing instruction: the common head, and the attributes that are present.
// The factory and the destroyer are registered for the namespaces of element_kinds.h; the operations that the library
// and its users reach through the kind's descriptor are here too.
//
// A document that streams makes and frees the same few sizes of node over and over, so destroyed records are kept, with
// their attribute lists if these are small, and handed out again. No more of them exist than were ever alive at once.
#ifndef ARBTREE_TOOL_ELEMENT_NODE_H
#define ARBTREE_TOOL_ELEMENT_NODE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "arbtree/arbtree.h"

namespace arbtree::tool {

struct AttributeEntry {
  std::uint32_t index;   // in the kind's attribute list
  std::uint32_t offset;  // of the value, in units
  std::uint32_t length;  // of the value, in units, without the terminator
};

struct AttributeList {
  std::vector<AttributeEntry> entries;  // in order of the index
  std::u16string values;                // each with a zero behind it
};

struct ElementNode {
  ArbNode node;
  AttributeList* list;  // the node's own; null until the record first has attributes

  std::span<const AttributeEntry> attributes() const {
    return list ? std::span<const AttributeEntry>(list->entries) : std::span<const AttributeEntry>();
  }
  std::u16string_view value(const AttributeEntry& entry) const {
    return std::u16string_view(list->values).substr(entry.offset, entry.length);
  }
};

inline ElementNode& asElement(ArbNode& node) { return reinterpret_cast<ElementNode&>(node); }
inline const ElementNode& asElement(const ArbNode& node) { return reinterpret_cast<const ElementNode&>(node); }

// An attribute on its way into a node; its value is valid UTF-8.
struct NewAttribute {
  std::uint32_t index;
  std::string_view value;
};

// Gives a new node its attributes, in document order and with different indices. False when there is no memory; the
// node then has none.
bool assignAttributes(ElementNode& element, std::span<const NewAttribute> attributes);

// The node's list, made if it has none. Throws std::bad_alloc.
AttributeList& attributeList(ElementNode& element);

// The node factory and destroyer of all our namespaces.
std::uint32_t ARB_CALL makeElementNode(ArbTree* tree, std::uint32_t elementId, ArbNode** node);
std::uint32_t ARB_CALL destroyElementNode(ArbNode* node);

// A descriptor without kind: the operations that all kinds share.
ArbNodeType elementNodeType();

}  // namespace arbtree::tool

#endif

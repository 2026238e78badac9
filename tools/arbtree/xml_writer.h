// Writes the nodes of a tree as XML in UTF-8. The canonical form of what is written is that of the document that the
// tree was made from: characters that a parser would change or take for markup are written as references.
#ifndef ARBTREE_TOOL_XML_WRITER_H
#define ARBTREE_TOOL_XML_WRITER_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "arbtree/arbtree.h"
#include "element_kinds.h"
#include "element_node.h"
#include "output_file.h"

namespace arbtree::tool {

// Text as it is, in UTF-8. REQUIRES: every surrogate is one of a pair.
void writePlainText(OutputFile& out, std::u16string_view text);

class XmlWriter {
 public:
  explicit XmlWriter(OutputFile& out) : out_(out) {}

  // Called for every node of a walk. The XML declaration goes before the first one, so an input that gives no node
  // gives no output.
  void enter(const ArbNode& node);
  void leave(const ArbNode& node);

 private:
  void startElement(const ElementNode& element, const ElementKind& kind);
  std::span<const AttributeEntry> inDocumentOrder(const ElementNode& element);
  void writeComment(const ElementNode& comment);
  void writeInstruction(const ElementNode& instruction);

  OutputFile& out_;
  std::uint64_t depth_ = 0;
  bool declared_ = false;
  bool tagOpen_ = false;  // a start tag waits for ">" or "/>"
  std::vector<AttributeEntry> reordered_;
};

}  // namespace arbtree::tool

#endif

// The entities that a document declares itself, and the references in attributes to others.
//
// Such a reference is malformed, unless the declaration may be in a part of the document type that is not loaded: then
// expat leaves it out of the value without a word, so the start tag has to be looked at.
#ifndef ARBTREE_TOOL_DECLARED_ENTITIES_H
#define ARBTREE_TOOL_DECLARED_ENTITIES_H

#include <expat.h>

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace arbtree::tool {

class DeclaredEntities {
 public:
  void add(std::string_view name) { names_.emplace(name); }
  void missPart() { missesPart_ = true; }

  // Whether no reference can be left out.
  bool areAll() const { return !missesPart_; }
  // Gives the names that the start tag being reported refers to and that are not declared, one for each reference. What
  // is inside another entity is not seen.
  void eachUndeclared(XML_Parser parser, const std::function<void(const std::string&)>& give) const;

 private:
  bool isDeclared(const std::string& name) const;

  std::set<std::string, std::less<>> names_;
  bool missesPart_ = false;
};

}  // namespace arbtree::tool

#endif

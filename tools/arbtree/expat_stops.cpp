// What the expat of this process does is found out once, by a document of three elements.
#include "expat_stops.h"

#include <new>
#include <string_view>

namespace arbtree::tool {
namespace {

constexpr std::string_view kNestedEntities =
    "<!DOCTYPE a [<!ENTITY inner '<b/>text'><!ENTITY outer '&inner;<c/>'>]><a>&outer;</a>";

// Whether all its elements are reported when the parser is stopped at each.
bool resumesWithinEntities() {
  const XML_Parser parser = XML_ParserCreate(nullptr);
  if (!parser) throw std::bad_alloc();
  struct Count {
    XML_Parser parser;
    int elements = 0;
  } count{parser};
  XML_SetUserData(parser, &count);
  XML_SetStartElementHandler(parser, [](void* self, const char*, const char**) {
    auto& [stopped, elements] = *static_cast<Count*>(self);
    ++elements;
    XML_StopParser(stopped, XML_TRUE);
  });
  XML_Status status = XML_Parse(parser, kNestedEntities.data(), static_cast<int>(kNestedEntities.size()), XML_TRUE);
  while (status == XML_STATUS_SUSPENDED) status = XML_ResumeParser(parser);
  XML_ParserFree(parser);
  return status == XML_STATUS_OK && count.elements == 3;
}

// What an entity stands for is reported at the place of the outermost reference. A reference to a character is one too,
// and so may, in UTF-16, the first byte of something else look like one: the parser is then stopped a little later.
bool isAtReference(XML_Parser parser) {
  int offset = 0;
  int size = 0;
  const char* const context = XML_GetInputContext(parser, &offset, &size);
  if (!context) return true;
  const std::string_view rest(context + offset, static_cast<std::size_t>(size - offset));
  return rest.starts_with('&') || rest.starts_with(std::string_view("\0&", 2));
}

}  // namespace

bool canStopHere(XML_Parser parser) {
  if (!isAtReference(parser)) return true;
  static const bool anywhere = resumesWithinEntities();
  return anywhere;
}

}  // namespace arbtree::tool

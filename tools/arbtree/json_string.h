// Text as a JSON string.
#ifndef ARBTREE_TOOL_JSON_STRING_H
#define ARBTREE_TOOL_JSON_STRING_H

#include <utf8.h>

#include <cstdio>
#include <string>

namespace arbtree::tool {

// With quotes. Bytes that are no UTF-8, which a file name may hold, become U+FFFD.
inline std::string jsonString(const std::string& text) {
  std::string json = "\"";
  for (const char byte : utf8::replace_invalid(text)) {
    if (byte == '"' || byte == '\\') {
      json += '\\';
      json += byte;
    } else if (static_cast<unsigned char>(byte) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
      json += escape;
    } else {
      json += byte;
    }
  }
  return json + '"';
}

}  // namespace arbtree::tool

#endif

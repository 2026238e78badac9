// Base64 as encoded-bytes values hold it: the alphabet of RFC 4648, with a line feed after every 64 units of text.
#ifndef ARBTREE_NODETYPES_BASE64_H
#define ARBTREE_NODETYPES_BASE64_H

#include <cstdint>

namespace arbtree::base64 {

// Units that a buffer for the text of `byteCount` bytes has room for, its terminator aside; never too few.
std::uint64_t capacityFor(std::uint32_t byteCount);

// Units that the text of `byteCount` bytes has, line feeds included.
std::uint64_t encodedLength(std::uint32_t byteCount);

// Writes the text of the bytes and a zero unit. REQUIRES: room for encodedLength(byteCount) + 1 units.
void encode(const std::uint8_t* bytes, std::uint32_t byteCount, char16_t* text);

}  // namespace arbtree::base64

#endif

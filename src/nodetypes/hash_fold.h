// The hash fold of texts, bytes and attribute areas: from a start value, exclusive-or each whole 32-bit little-endian
// word of a byte range, then each remaining byte.
#ifndef ARBTREE_NODETYPES_HASH_FOLD_H
#define ARBTREE_NODETYPES_HASH_FOLD_H

#include <cstddef>
#include <cstdint>

namespace arbtree {

inline std::uint32_t foldHash(std::uint32_t hash, const void* range, std::size_t count) {
  const auto* bytes = static_cast<const std::uint8_t*>(range);
  for (; count >= 4; bytes += 4, count -= 4) {
    hash ^= std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
            std::uint32_t{bytes[3]} << 24;
  }
  for (; count > 0; ++bytes, --count) hash ^= *bytes;
  return hash;
}

// How many bytes of a text are folded: their number has 16 bits.
inline std::size_t hashedTextBytes(std::uint32_t units) { return 2 * std::size_t{units} % 65536; }

}  // namespace arbtree

#endif

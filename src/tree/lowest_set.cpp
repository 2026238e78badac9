#include "tree/lowest_set.h"

#include <bit>
#include <cstring>

#include "platform/heap.h"

namespace arbtree {

bool LowestSet::reserve(std::uint32_t capacity) noexcept {
  if (capacity <= capacity_) return true;
  LowestSet grown = {};
  grown.capacity_ = capacity;
  std::uint32_t total = 0;
  std::uint32_t words = capacity;
  do {
    words = (words - 1) / 64 + 1;
    grown.levelStart_[grown.levels_++] = total;
    total += words;
  } while (words > 1);
  grown.words_ = heap::allocateArray<std::uint64_t>(total);
  if (!grown.words_) return false;
  for (std::uint32_t i = 0; capacity_ != 0 && i <= (capacity_ - 1) / 64; ++i) {
    if (level(0)[i] == 0) continue;
    grown.insert(i * 64);  // sets the summary levels
    grown.level(0)[i] = level(0)[i];
  }
  destroy();
  *this = grown;
  return true;
}

void LowestSet::destroy() noexcept {
  heap::release(words_);
  *this = {};
}

void LowestSet::insert(std::uint32_t index) noexcept {
  for (std::uint32_t k = 0; k < levels_; ++k) {
    std::uint64_t& word = level(k)[index / 64];
    const bool summarised = word != 0;
    word |= std::uint64_t{1} << (index % 64);
    if (summarised) return;
    index /= 64;
  }
}

void LowestSet::erase(std::uint32_t index) noexcept {
  for (std::uint32_t k = 0; k < levels_; ++k) {
    std::uint64_t& word = level(k)[index / 64];
    word &= ~(std::uint64_t{1} << (index % 64));
    if (word != 0) return;
    index /= 64;
  }
}

std::uint32_t LowestSet::lowest() const noexcept {
  if (levels_ == 0 || level(levels_ - 1)[0] == 0) return kNone;
  std::uint32_t index = 0;
  for (std::uint32_t k = levels_; k-- > 0;) {
    index = index * 64 + static_cast<std::uint32_t>(std::countr_zero(level(k)[index]));
  }
  return index;
}

}  // namespace arbtree

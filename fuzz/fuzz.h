// What the fuzz entries share. Each entry is a source of its own with libFuzzer's function, LLVMFuzzerTestOneInput, and
// seeds(). What it is about must hold for every input; require() ends the program where it does not.
#ifndef ARBTREE_FUZZ_FUZZ_H
#define ARBTREE_FUZZ_FUZZ_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace arbtree::fuzz {

using Bytes = std::vector<std::uint8_t>;

// Small inputs that reach far into what the entry is about; driver.cpp makes its inputs from them.
std::vector<std::string> seeds();

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: this does not hold: %s\n", what);
  std::abort();
}

// An input, taken from its front; at its end it gives zeros.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : at_(data), left_(size) {}
  bool empty() const { return left_ == 0; }
  std::uint8_t byte() { return left_ == 0 ? std::uint8_t{0} : (--left_, *at_++); }
  std::size_t below(std::size_t limit) { return byte() % limit; }
  // At most `count` bytes.
  Bytes bytes(std::size_t count = SIZE_MAX) {
    count = std::min(count, left_);
    const std::uint8_t* const from = at_;
    left_ -= count;
    return Bytes(from, at_ += count);
  }

 private:
  const std::uint8_t* at_;
  std::size_t left_;
};

}  // namespace arbtree::fuzz

#endif

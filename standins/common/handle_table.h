// Values behind 32-bit handles that a caller cannot turn into a bad access: a handle is a number that is looked up.
//
// No number is given out again before all others have been, so a stale handle is known as such. Numbers are spread over
// the whole range, differently for each salt, so that small integers, pointers and handles of other tables are known as
// invented. 0 and 0xFFFFFFFF, the usual values for "no handle", are never given out.
//
// The table does not lock; its owner does.
#ifndef ARBTREE_STANDINS_COMMON_HANDLE_TABLE_H
#define ARBTREE_STANDINS_COMMON_HANDLE_TABLE_H

#include <cstdint>
#include <unordered_map>
#include <utility>

namespace arbtree::standins {

template <typename Value>
class HandleTable {
 public:
  explicit HandleTable(std::uint32_t salt) : salt_(salt) {}

  // The new handle. Throws std::bad_alloc, with the table unchanged.
  std::uint32_t insert(Value value) {
    std::uint32_t handle;
    do {
      handle = (++issued_ * kSpread) ^ salt_;
    } while (handle == 0 || handle == 0xFFFFFFFFu || values_.contains(handle));
    values_.emplace(handle, std::move(value));
    return handle;
  }

  // The value behind a live handle, or null.
  const Value* find(std::uint32_t handle) const {
    const auto found = values_.find(handle);
    return found == values_.end() ? nullptr : &found->second;
  }

  bool erase(std::uint32_t handle) { return values_.erase(handle) != 0; }

 private:
  static constexpr std::uint32_t kSpread = 0x9E3779B1u;  // odd, so each count gives another number

  std::unordered_map<std::uint32_t, Value> values_;
  std::uint32_t issued_ = 0;
  std::uint32_t salt_;
};

}  // namespace arbtree::standins

#endif

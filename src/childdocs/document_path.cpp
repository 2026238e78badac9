// The path of a child document: the directory of the output file, the names of the archive forests around the child,
// and its own name.
//
// The chain of a child is the child, its parent, that one's parent and so on. It is only ever walked upwards, so the
// path is written from its end.
#include <algorithm>
#include <limits>
#include <string_view>

#include "childdocs/child_record.h"
#include "childdocs/naming.h"

namespace arbtree {
namespace {

constexpr std::u16string_view kSeparators = u"/\\";

ArbForestChild* above(const ArbForestChild& child) { return child.parent ? &child.parent->child : nullptr; }

std::u16string_view nameOf(const ArbForestChild& child) { return child.name; }

bool contributes(const ArbForestChild& ancestor) { return asForest(&ancestor)->archiveType != 0; }

// Decided by the forest nearest the chain's end whose archive type is 0 to 3; on without one.
bool wantsPrefix(const ArbForestChild& child) {
  bool wanted = true;
  for (const ArbForestChild* link = &child; link; link = above(*link)) {
    if (link->kind != ARB_CHILD_FOREST) continue;
    const std::uint32_t type = asForest(link)->archiveType;
    if (type <= 3) wanted = type <= 1;
  }
  return wanted;
}

// Units of the ancestors' part and the child's own name.
std::uint64_t bodyLength(const ArbForestChild& child) {
  std::uint64_t length = nameOf(child).size();
  for (const ArbForestChild* ancestor = above(child); ancestor; ancestor = above(*ancestor)) {
    if (contributes(*ancestor)) length += nameOf(*ancestor).size() + 1;
  }
  return length;
}

std::u16string_view directoryOf(std::u16string_view path) {
  const std::size_t separator = path.find_last_of(kSeparators);
  return path.substr(0, separator == std::u16string_view::npos ? 0 : separator + 1);
}

// Writes names towards the front of a buffer.
class BackwardWriter {
 public:
  explicit BackwardWriter(char16_t* end) : at_(end) {}
  void put(char16_t unit) { *--at_ = unit; }
  void put(std::u16string_view text) { at_ = std::copy_backward(text.begin(), text.end(), at_); }

 private:
  char16_t* at_;
};

void writePath(const ArbForestChild& child, std::u16string_view prefix, char16_t* buffer) {
  char16_t* const end = buffer + prefix.size() + bodyLength(child);
  *end = 0;
  BackwardWriter out(end);
  out.put(nameOf(child));
  for (const ArbForestChild* ancestor = above(child); ancestor; ancestor = above(*ancestor)) {
    if (!contributes(*ancestor)) continue;
    out.put(u'/');
    out.put(nameOf(*ancestor));
  }
  out.put(prefix);
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

// The whole output path counts for the capacity although only its directory is written, and also for a child without
// ancestors, where no prefix is written at all.
ArbStatus ARB_CALL ArbForestChildGetDocumentPath(ArbForestChild* child, char16_t* buffer, uint32_t* size) {
  if (!child || !size) return ARB_ERR_BADARG;
  const std::uint32_t capacity = *size;  // the host's functions may use the variable
  if (buffer && capacity != 0) *buffer = 0;
  std::u16string_view output;
  if (wantsPrefix(*child)) {
    if (const char16_t* const path = outputPath(*child->document)) output = path;
  }
  const std::uint64_t needed = output.size() + bodyLength(*child) + 1;
  const bool fits = needed <= capacity;
  if (fits && buffer) writePath(*child, child->parent ? directoryOf(output) : std::u16string_view(), buffer);
  *size = static_cast<std::uint32_t>(std::min<std::uint64_t>(needed, std::numeric_limits<std::uint32_t>::max()));
  return fits ? ARB_OK : ARB_ERR_SMALLBUFFER;
}

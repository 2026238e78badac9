#include "childdocs/naming.h"

#include <cstdio>
#include <string_view>

#include "document/document.h"

namespace arbtree {
namespace {

constexpr std::size_t kNameUnits = sizeof(ArbForestChild::name) / sizeof(char16_t) - 1;
constexpr std::uint32_t kNoFileHandle = 0xFFFFFFFF;
constexpr std::u16string_view kUnknownPath = u"out.xml";

// Writes a name into its record and drops what does not fit.
class NameWriter {
 public:
  explicit NameWriter(char16_t* name) : name_(name) {}
  bool full() const { return length_ == kNameUnits; }
  void put(char16_t unit) {
    if (!full()) name_[length_++] = unit;
  }
  void put(std::u16string_view text) {
    for (const char16_t unit : text) put(unit);
  }
  void putBytes(const char* bytes) {
    for (; *bytes; ++bytes) put(static_cast<char16_t>(static_cast<unsigned char>(*bytes)));
  }
  void finish() { name_[length_] = 0; }

 private:
  char16_t* name_;
  std::size_t length_ = 0;
};

// Fetches a path through a source-access slot. On failure it stays null, and the next naming tries again.
void fetchPath(ArbDocument& document, std::uint32_t slot, char16_t*& path) {
  if (path || !document.interface[slot]) return;
  const auto getHandle = reinterpret_cast<ArbFileHandleFunction>(document.interface[slot]);
  std::uint32_t handle = kNoFileHandle;
  if (getHandle(document.source, &handle) != 0 || path) return;  // it may itself have asked for a name
  BasePathName record = {};
  if (BaseFillPathName(handle, &record) == 0) path = record.path;
}

std::u16string_view pathOrDefault(const char16_t* path) { return path ? std::u16string_view(path) : kUnknownPath; }

bool isSeparator(char16_t unit) { return unit == u'/' || unit == u'\\'; }

std::u16string_view fileNameOf(std::u16string_view path) {
  std::size_t start = path.size();
  while (start > 0 && !isSeparator(path[start - 1])) --start;
  return path.substr(start);
}

// Where a backward search for the file name's last "." stops: at it, at the separator before the name, or at the path's
// first unit, which the search itself never looks at.
std::size_t searchDot(std::u16string_view path) {
  std::size_t at = path.size();
  while (at > 0) {
    --at;
    if (at == 0 || path[at] == u'.' || isSeparator(path[at])) break;
  }
  return at;
}

// The file name up to its last ".". The two codes differ in what a name without a dot gives, and in whether a "." that
// is the path's first unit counts as its dot.
std::u16string_view stemOf(std::u16string_view path, bool wholeWithoutDot) {
  const std::u16string_view name = fileNameOf(path);
  const std::size_t nameStart = path.size() - name.size();
  const std::size_t at = searchDot(path);
  const bool dotHere = at < path.size() && path[at] == u'.' && at >= nameStart;
  if (wholeWithoutDot) return dotHere && at > 0 ? name.substr(0, at - nameStart) : name;
  return dotHere ? name.substr(0, at - nameStart) : std::u16string_view();
}

void putExtension(NameWriter& out, std::uint16_t formatId) {
  SrcFormatInfo info = {};
  if (SrcGetFormatInfo(formatId, 0, &info) != 0) return;
  info.extension[sizeof info.extension - 1] = 0;
  out.putBytes(info.extension);
}

void putId(NameWriter& out, std::uint32_t id) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%ld", static_cast<long>(static_cast<std::int32_t>(id)));
  out.putBytes(digits);
}

void putCode(NameWriter& out, char16_t code, const ArbDocument& document, const ArbForestChild& child) {
  const std::u16string_view input = pathOrDefault(document.inputPath);
  const std::u16string_view output = pathOrDefault(document.outputPath);
  switch (code) {
    case u'f':
      return out.put(fileNameOf(input));
    case u'b':
      return out.put(stemOf(input, false));
    case u'x':
      return out.put(stemOf(input, true));
    case u'F':
      return out.put(fileNameOf(output));
    case u'B':
      return out.put(stemOf(output, false));
    case u'X':
      return out.put(stemOf(output, true));
    case u'e':
      return putExtension(out, child.formatId);
    case u'n':
      return putId(out, child.id);
    default:
      return;  // no code: writes nothing
  }
}

}  // namespace

void nameChild(ArbDocument& document, const char16_t* pattern, ArbForestChild& child) {
  fetchPath(document, ARB_INTERFACE_FILE_HANDLE, document.inputPath);
  outputPath(document);
  if (!pattern) pattern = u"%f.%e";
  NameWriter out(child.name);
  for (; *pattern && !out.full(); ++pattern) {
    if (*pattern != u'%') {
      out.put(*pattern);
      continue;
    }
    if (!*++pattern) break;
    putCode(out, *pattern, document, child);
  }
  out.finish();
}

const char16_t* outputPath(ArbDocument& document) {
  fetchPath(document, ARB_INTERFACE_OUTPUT_FILE_HANDLE, document.outputPath);
  return document.outputPath;
}

}  // namespace arbtree

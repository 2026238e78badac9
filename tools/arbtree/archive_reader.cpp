// libarchive's callbacks, and what its answers mean.
//
// Compression is no business of the archive readers: a compressed archive is read through decompress(), so that what
// follows the end of the archive proper is unpacked too and a cut stream shows.
#include "archive_reader.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "member_name.h"

namespace arbtree::tool {
namespace {

// --- What libarchive calls -------------------------------------------------------------------------------------------

la_ssize_t readBlock(archive* handle, void* self, const void** bytes) {
  auto& feed = *static_cast<ArchiveFeed*>(self);
  const auto block = feed.next();
  if (!block) {
    archive_set_error(handle, EIO, "%s", feed.source().error().c_str());
    return -1;
  }
  *bytes = block->data();
  return static_cast<la_ssize_t>(block->size());
}

la_int64_t seekTo(archive*, void* self, la_int64_t offset, int whence) {
  const std::int64_t position = static_cast<ArchiveFeed*>(self)->seek(offset, whence);
  return position < 0 ? static_cast<la_int64_t>(ARCHIVE_FATAL) : position;
}

la_int64_t skipBytes(archive*, void* self, la_int64_t count) { return static_cast<ArchiveFeed*>(self)->skip(count); }

bool open(archive* handle, ArchiveFeed& feed, bool anywhere) {
  archive_read_set_read_callback(handle, readBlock);
  archive_read_set_skip_callback(handle, skipBytes);
  if (anywhere) archive_read_set_seek_callback(handle, seekTo);
  archive_read_set_callback_data(handle, &feed);
  return archive_read_open1(handle) >= ARCHIVE_WARN;
}

ArchiveHandle makeHandle() {
  ArchiveHandle handle(archive_read_new());
  if (!handle) throw std::bad_alloc();
  return handle;
}

void supportFormat(archive* handle, ContentKind format) {
  switch (format) {
    case ContentKind::tar:
      archive_read_support_format_tar(handle);
      break;
    case ContentKind::zip:
      archive_read_support_format_zip(handle);
      break;
    case ContentKind::cpio:
      archive_read_support_format_cpio(handle);
      break;
    case ContentKind::ar:
      archive_read_support_format_ar(handle);
      break;
    case ContentKind::sevenZip:
      archive_read_support_format_7zip(handle);
      break;
    case ContentKind::cab:
      archive_read_support_format_cab(handle);
      break;
    case ContentKind::rar:
      archive_read_support_format_rar(handle);
      break;
    case ContentKind::rar5:
      archive_read_support_format_rar5(handle);
      break;
    case ContentKind::xar:
      archive_read_support_format_xar(handle);
      break;
    case ContentKind::lha:
      archive_read_support_format_lha(handle);
      break;
    case ContentKind::iso9660:
      archive_read_support_format_iso9660(handle);
      break;
    case ContentKind::other:
    case ContentKind::xml:
    case ContentKind::compressed:
      break;
  }
}

// The end record of a zip archive: its own bytes and a comment of up to 64 KiB.
constexpr std::size_t kZipEndBytes = 22;
constexpr std::size_t kZipTailBytes = kZipEndBytes + 0xFFFF;

std::uint32_t littleEndian16(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]) + 256u * static_cast<unsigned char>(bytes[at + 1]);
}

std::uint64_t littleEndian32(std::string_view bytes, std::size_t at) {
  return littleEndian16(bytes, at) | littleEndian16(bytes, at + 2) << 16;
}

// Whether the record at `at` of the tail is the end of an archive that begins with the stream, and not of one that is
// stored in it: the directory, which it places, is right before it. (Large archives have another record in between.)
bool endsWholeStream(std::string_view tail, std::size_t at, std::uint64_t streamBytes) {
  constexpr std::size_t kLargeRecord = 20;
  if (at >= kLargeRecord && tail.substr(at - kLargeRecord).starts_with("PK\6\7")) return true;
  return littleEndian32(tail, at + 12) + littleEndian32(tail, at + 16) == streamBytes - tail.size() + at;
}

// Where the end record is in the tail; npos where there is none. `isWhole`: the stream begins with a member, so that
// nothing else stands before the archive.
std::size_t findZipEnd(std::string_view tail, std::uint64_t streamBytes, bool isWhole) {
  for (std::size_t at = tail.rfind("PK\5\6"); at != std::string_view::npos; at = tail.rfind("PK\5\6", at - 1)) {
    if (at + kZipEndBytes <= tail.size()) {
      const std::size_t comment = littleEndian16(tail, at + 20);
      const bool isComplete = at + kZipEndBytes + comment <= tail.size();
      if (isComplete && (!isWhole || endsWholeStream(tail, at, streamBytes))) return at;
    }
    if (at == 0) break;
  }
  return std::string_view::npos;
}

// How many members the directory has, by the end record: modulo 2^16, which all ones say too where a larger number is
// elsewhere.
std::uint32_t zipMembers(std::string_view tail, std::size_t end) { return littleEndian16(tail, end + 10); }

// What the image of a disc says of its size, in the description of the volume (ECMA-119, 8.4): the number of blocks and
// the bytes of one.
std::uint64_t discBytes(std::string_view beginning) {
  constexpr std::size_t kDescription = 32768;
  if (beginning.size() < kDescription + 130) return 0;
  return littleEndian32(beginning, kDescription + 80) * littleEndian16(beginning, kDescription + 128);
}

// In a locale of UTF-8 libarchive brings names that it knows to be UTF-8 into the composed normal form, by which two
// names might become one. What it cannot convert at all it leaves as it is in tar archives, so those are read without a
// locale.
class PlainLocale {
 public:
  explicit PlainLocale(bool wanted) {
    static const locale_t plain = newlocale(LC_CTYPE_MASK, "C", nullptr);
    if (wanted && plain) before_ = uselocale(plain);
  }
  ~PlainLocale() {
    if (before_) uselocale(before_);
  }
  PlainLocale(const PlainLocale&) = delete;
  PlainLocale& operator=(const PlainLocale&) = delete;

 private:
  locale_t before_ = nullptr;
};

std::string ownReasonOf(archive* handle) {
  const char* const reason = archive_error_string(handle);
  std::string line = reason ? reason : "cannot be read";
  while (line.ends_with('\n')) line.pop_back();
  return line;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

// A failure of what is read from comes before what libarchive makes of it.
std::string reasonOf(archive* handle, ArchiveFeed& feed) {
  const std::string& failure = feed.source().error();
  return failure.empty() ? ownReasonOf(handle) : failure;
}

// Whether a warning is that a name has no form in the locale. Names are told byte for byte, whatever the locale.
bool isAboutConversion(std::string_view warning) { return warning.find("convert") != std::string_view::npos; }

// --- The sources -----------------------------------------------------------------------------------------------------

class EntryContent : public ByteSource {
 public:
  EntryContent(archive* handle, ArchiveFeed& feed, bool isSparse, Budget& budget)
      : handle_(handle), feed_(feed), isSparse_(isSparse), budget_(budget) {}

 protected:
  std::optional<std::string_view> pull() override {
    if (position_ >= kMostSignBytes) feed_.givePieces(false);
    if (block_.empty() && !readOn()) return std::nullopt;
    if (position_ < blockAt_) return zeros();
    const std::string_view block = std::exchange(block_, {});
    position_ += block.size();
    return spend(block);
  }

 private:
  // The next block that is not empty; none at the end.
  bool readOn() {
    const void* bytes = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    int status = ARCHIVE_RETRY;
    while (size == 0 && (status == ARCHIVE_RETRY || status == ARCHIVE_OK)) {
      status = archive_read_data_block(handle_, &bytes, &size, &offset);
    }
    // A warning is a checksum or a size that is wrong.
    if (status != ARCHIVE_EOF && status != ARCHIVE_OK) return fail(reasonOf(handle_, feed_)).has_value();
    // A sparse file that ends in a hole ends with an empty block behind it. For others some formats give no offsets.
    blockAt_ = isSparse_ ? std::max(position_, static_cast<std::uint64_t>(offset)) : position_;
    block_ = {static_cast<const char*>(bytes), status == ARCHIVE_EOF ? 0 : size};
    return true;
  }

  // Holes of sparse files.
  std::optional<std::string_view> zeros() {
    static constexpr char kZeros[16384] = {};
    const std::size_t count = std::min<std::uint64_t>(sizeof kZeros, blockAt_ - position_);
    position_ += count;
    return spend({kZeros, count});
  }

  std::optional<std::string_view> spend(std::string_view block) {
    if (!budget_.spendBytes(block.size())) return fail(budget_.problem());
    return block;
  }

  archive* const handle_;
  ArchiveFeed& feed_;
  const bool isSparse_;
  Budget& budget_;
  std::string_view block_;      // read and not given out yet
  std::uint64_t blockAt_ = 0;   // where it belongs
  std::uint64_t position_ = 0;  // of what has been given out
};

class Decompressed final : public ByteSource {
 public:
  Decompressed(ByteSource& source, Budget& budget)
      : feed_(source, 0), handle_(makeHandle()), content_(handle_.get(), feed_, false, budget) {}

 protected:
  std::optional<std::string_view> pull() override {
    if (!opened_ && !begin()) return error().empty() ? std::optional(std::string_view()) : std::nullopt;
    const auto block = content_.next();
    return block ? block : fail(content_.error());
  }

 private:
  // False without an error: there is nothing in the stream.
  bool begin() {
    opened_ = true;
    archive_read_support_filter_bzip2(handle_.get());
    archive_read_support_filter_xz(handle_.get());
    archive_read_support_filter_zstd(handle_.get());
    archive_read_support_filter_lz4(handle_.get());
    archive_read_support_filter_lzip(handle_.get());
    archive_read_support_filter_lzma(handle_.get());
    archive_read_support_filter_compress(handle_.get());
    archive_read_support_filter_rpm(handle_.get());
    archive_read_support_format_raw(handle_.get());
    archive_read_support_format_empty(handle_.get());
    archive_entry* entry = nullptr;
    if (open(handle_.get(), feed_, false)) {
      const int status = archive_read_next_header(handle_.get(), &entry);
      if (status == ARCHIVE_EOF) return false;
      // Without a filter of its own for the stream libarchive would hand it out as it is.
      const bool isUnpacked = archive_filter_code(handle_.get(), 0) != ARCHIVE_FILTER_NONE;
      if (status >= ARCHIVE_WARN && isUnpacked) return true;
    }
    fail(reasonOf(handle_.get(), feed_));
    return false;
  }

  ArchiveFeed feed_;
  ArchiveHandle handle_;
  EntryContent content_;
  bool opened_ = false;
};

}  // namespace

std::unique_ptr<ByteSource> decompress(ByteSource& source, Budget& budget) {
  if (beginsAsGzip(source.peek(3))) return gunzip(source, budget);
  return std::make_unique<Decompressed>(source, budget);
}

std::optional<std::string_view> ArchiveFeed::next() {
  constexpr std::size_t kPieceBytes = 160;
  if (rest_.empty()) {
    rememberBlock();
    const auto block = source_.next();
    if (!block) return std::nullopt;
    if (tailBytes_ != 0) keep(*block);
    if (position_ == 0) beginsWithZipMember_ = block->starts_with("PK\3\4");
    block_ = rest_ = *block;
  }
  const std::string_view piece = rest_.substr(0, givesPieces_ ? kPieceBytes : rest_.size());
  rest_.remove_prefix(piece.size());
  position_ += static_cast<std::int64_t>(piece.size());
  return piece;
}

std::int64_t ArchiveFeed::skip(std::int64_t count) {
  if (rest_.empty()) {
    const std::int64_t skipped = source_.skip(count);
    if (skipped > 0) jump(position_ + skipped);
    return skipped;
  }
  count = std::min(count, static_cast<std::int64_t>(rest_.size()));
  rest_.remove_prefix(static_cast<std::size_t>(count));
  position_ += count;
  return count;
}

std::int64_t ArchiveFeed::seek(std::int64_t offset, int whence) {
  const std::int64_t position = source_.seek(offset, whence);
  jump(position);
  return position;
}

void ArchiveFeed::jump(std::int64_t position) {
  block_ = rest_ = {};
  before_.clear();
  position_ = position;
}

void ArchiveFeed::rememberBlock() {
  constexpr std::size_t kRemembered = 4096;
  before_.append(block_.substr(block_.size() - std::min(block_.size(), kRemembered)));
  if (before_.size() > kRemembered) before_.erase(0, before_.size() - kRemembered);
  block_ = {};
}

std::string ArchiveFeed::lately(std::int64_t end, std::size_t count) const {
  std::string bytes = before_;
  bytes += block_.substr(0, block_.size() - rest_.size());
  const std::int64_t behind = position_ - end;
  if (behind < 0 || behind > static_cast<std::int64_t>(bytes.size())) return {};
  bytes.resize(bytes.size() - static_cast<std::size_t>(behind));
  return bytes.size() > count ? bytes.substr(bytes.size() - count) : bytes;
}

void ArchiveFeed::keep(std::string_view block) {
  if (block.size() >= tailBytes_) {
    tail_.assign(block.substr(block.size() - tailBytes_));
  } else {
    if (tail_.size() > 3 * tailBytes_) tail_.erase(0, tail_.size() - tailBytes_);
    tail_.append(block);
  }
}

// --- Entries ---------------------------------------------------------------------------------------------------------

ArchiveReader::ArchiveReader(ByteSource& source, ContentKind format)
    : feed_(source, format == ContentKind::zip && !source.canSeek() ? kZipTailBytes : 0),
      archive_(makeHandle()),
      format_(format) {
  supportFormat(archive_.get(), format);
  if (format == ContentKind::iso9660) discBytes_ = discBytes(source.peek(kDiscSignBytes));
}

ArchiveReader::Step ArchiveReader::next() {
  const PlainLocale plain(format_ == ContentKind::tar);
  if (!opened_) {
    opened_ = true;
    if (!open(archive_.get(), feed_, feed_.source().canSeek())) return fail(reason());
  }
  feed_.givePieces(format_ == ContentKind::zip);
  warning_.clear();
  do {
    const bool isFirst = headers_ == 0;
    const int status = nextHeader();
    const bool hasGap = !isFirst && status >= ARCHIVE_WARN && zipHasGap();
    if (status == ARCHIVE_EOF) {
      if (hasGap) damage_ = "bytes before the archive's directory belong to no member";
      return finish();
    }
    if (hasGap) warning_ = "bytes before it belong to no member";
    if (status < ARCHIVE_WARN) return fail(reason());
    const std::string warning = status == ARCHIVE_WARN ? ownReasonOf(archive_.get()) : "";
    if (!warning.empty() && !isAboutConversion(warning)) warning_ = warning;
  } while (isTable());
  name_ = tellName();
  if (name_ && !isItsOwn(*name_)) {
    warning_ = "its name is told like that of an earlier member: " + shown(*name_);
    name_.reset();
  }
  return Step::entry;
}

// Names that libarchive converts come in the composed normal form, in which two of them may be one.
bool ArchiveReader::isItsOwn(const std::string& name) {
  const bool keepsBytes = format_ == ContentKind::tar || format_ == ContentKind::cpio || format_ == ContentKind::ar ||
                          format_ == ContentKind::zip;
  return keepsBytes || isAscii(name) || convertedNames_.insert(name).second;
}

// A header that is damaged is passed over, and said to be so with the end of the archive.
int ArchiveReader::nextHeader() {
  for (;;) {
    const int status = archive_read_next_header(archive_.get(), &entry_);
    if (status != ARCHIVE_EOF) ++headers_;
    if (status != ARCHIVE_RETRY) return status;
    if (damage_.empty()) damage_ = "a damaged member is left out: " + reason();
  }
}

// Reading a zip archive as a stream, libarchive looks for the next sign of a member wherever it is; what it passes over
// may be the content of the one before. Another thing may stand before the first.
bool ArchiveReader::zipHasGap() const {
  if (format_ != ContentKind::zip || feed_.source().canSeek()) return false;
  const std::string sign = feed_.lately(archive_read_header_position(archive_.get()) + 4, 4);
  return sign.size() == 4 && !sign.starts_with("PK");
}

// The table of symbols and that of long names, which an ar archive holds in the shape of members.
bool ArchiveReader::isTable() const {
  if (format_ != ContentKind::ar) return false;
  const std::string_view name = archive_entry_pathname(entry_);
  return name == "/" || name == "//" || name == "/SYM64/";
}

std::optional<std::string> ArchiveReader::tellName() const {
  const char* name = archive_entry_pathname(entry_);
  if (!name) name = archive_entry_pathname_utf8(entry_);
  if (format_ == ContentKind::zip && !(name && isAscii(name))) {
    if (auto raw = nameInZipHeader()) return raw;
  }
  return name ? std::optional<std::string>(name) : std::nullopt;
}

// The name in the header that libarchive has just read, if the header says that it is UTF-8: libarchive gives that in
// another normal form, or not at all.
std::optional<std::string> ArchiveReader::nameInZipHeader() const {
  constexpr std::size_t kHeader = 30;
  constexpr std::size_t kLongest = 4096;
  const std::string bytes = feed_.lately(archive_filter_bytes(archive_.get(), 0), kLongest);
  for (std::size_t at = bytes.rfind("PK\3\4"); at != std::string::npos && at + kHeader <= bytes.size();
       at = at == 0 ? std::string::npos : bytes.rfind("PK\3\4", at - 1)) {
    const std::size_t length = littleEndian16(bytes, at + 26);
    if (at + kHeader + length + littleEndian16(bytes, at + 28) != bytes.size()) continue;
    if ((littleEndian16(bytes, at + 6) & 0x800) == 0) return std::nullopt;
    std::string name = bytes.substr(at + kHeader, length);
    // As libarchive does with names in ASCII.
    if (name.find('/') == std::string::npos) std::replace(name.begin(), name.end(), '\\', '/');
    return name;
  }
  return std::nullopt;
}

std::unique_ptr<ByteSource> ArchiveReader::content(Budget& budget) {
  return std::make_unique<EntryContent>(archive_.get(), feed_, archive_entry_sparse_count(entry_) != 0, budget);
}

std::string ArchiveReader::reason() { return reasonOf(archive_.get(), feed_); }

ArchiveReader::Step ArchiveReader::fail(std::string reason) {
  error_ = std::move(reason);
  return Step::failed;
}

// What comes after the last entry belongs to the source, whose own checks come at its end.
ArchiveReader::Step ArchiveReader::finish() {
  if (!feed_.source().canSeek() && !drain()) return fail(feed_.source().error());
  if (!endsInFull()) return fail("the archive is cut off: its end is missing");
  if (headers_ < leastMembers_) {
    return fail("the archive's directory has " + std::to_string(leastMembers_) + " members, and " +
                std::to_string(headers_) + " were found");
  }
  return damage_.empty() ? Step::end : fail(damage_);
}

bool ArchiveReader::drain() {
  for (;;) {
    const auto block = feed_.next();
    if (!block) return false;
    if (block->empty()) return true;
  }
}

// libarchive takes a tar archive that just ends for a whole one; a whole one ends with an empty header. Of an ar
// archive it leaves out a header that is cut; a whole one has nothing behind its last member. A zip archive that it
// reads as a stream ends for it with the first record that is no member; a whole one ends with its end record. The
// image of a disc may end with blocks that no file has.
bool ArchiveReader::endsInFull() {
  const la_int64_t read = archive_filter_bytes(archive_.get(), 0);
  if (format_ == ContentKind::tar) return read > archive_read_header_position(archive_.get());
  if (format_ == ContentKind::ar) return static_cast<std::uint64_t>(read) == feed_.source().bytesRead();
  if (format_ != ContentKind::zip && format_ != ContentKind::iso9660) return true;
  std::uint64_t size = feed_.source().bytesRead();
  if (feed_.source().canSeek()) size = readTail();
  if (format_ == ContentKind::iso9660) return size >= discBytes_;
  const std::size_t end = findZipEnd(feed_.tail(), size, feed_.beginsWithZipMember());
  if (end == std::string::npos) return false;
  const std::uint32_t members = zipMembers(feed_.tail(), end);
  if (members != 0xFFFF) leastMembers_ = members;
  return true;
}

// Gives the size of the archive.
std::uint64_t ArchiveReader::readTail() {
  feed_.seek(0, SEEK_SET);
  feed_.next();
  feed_.keepTail(kZipTailBytes);
  const std::int64_t size = feed_.seek(0, SEEK_END);
  feed_.seek(std::max<std::int64_t>(0, size - static_cast<std::int64_t>(kZipTailBytes)), SEEK_SET);
  drain();
  return static_cast<std::uint64_t>(size);
}

}  // namespace arbtree::tool

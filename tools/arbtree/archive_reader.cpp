#include "archive_reader.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <utility>

namespace arbtree::tool {
namespace {

constexpr std::size_t kReadBytes = std::size_t{64} * 1024;

std::string orEmpty(const char* text) { return text ? text : ""; }

// The compressions and formats that libarchive reads by itself; others it would hand to programs that may be installed.
void supportFormats(struct archive* archive) {
  archive_read_support_filter_gzip(archive);
  archive_read_support_filter_bzip2(archive);
  archive_read_support_filter_xz(archive);
  archive_read_support_filter_lzma(archive);
  archive_read_support_filter_lzip(archive);
  archive_read_support_filter_zstd(archive);
  archive_read_support_filter_lz4(archive);
  archive_read_support_filter_compress(archive);
  archive_read_support_format_tar(archive);
  archive_read_support_format_zip(archive);
  archive_read_support_format_cpio(archive);
  archive_read_support_format_ar(archive);
  archive_read_support_format_7zip(archive);
  archive_read_support_format_raw(archive);
}

MemberType typeOf(struct archive_entry* entry) {
  if (archive_entry_hardlink(entry)) return MemberType::hardLink;
  switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
    case 0:  // a compressed file says nothing
      return MemberType::file;
    case AE_IFDIR:
      return MemberType::directory;
    case AE_IFLNK:
      return MemberType::symbolicLink;
    default:
      return MemberType::other;
  }
}

// What libarchive cannot turn into the locale's encoding it still has in another form.
std::string pathOf(struct archive_entry* entry) {
  if (const char* const path = archive_entry_pathname(entry)) return path;
  return orEmpty(archive_entry_pathname_utf8(entry));
}

class BytesSource final : public ByteSource {
 public:
  explicit BytesSource(std::string_view bytes) : rest_(bytes) {}
  std::optional<std::size_t> read(void* buffer, std::size_t size) override {
    const std::size_t count = rest_.copy(static_cast<char*>(buffer), size);
    rest_.remove_prefix(count);
    return count;
  }
  const std::string& error() const override { return error_; }

 private:
  std::string_view rest_;
  const std::string error_;
};

}  // namespace

struct ArchiveReader::Callbacks {
  static la_ssize_t read(struct archive* archive, void* self, const void** bytes) {
    auto& reader = *static_cast<ArchiveReader*>(self);
    const std::optional<std::size_t> count = reader.source_.read(reader.buffer_.data(), reader.buffer_.size());
    *bytes = reader.buffer_.data();
    if (count) return static_cast<la_ssize_t>(*count);
    archive_set_error(archive, EIO, "%s", reader.source_.error().c_str());
    return ARCHIVE_FATAL;
  }
  static la_int64_t skip(struct archive*, void* self, la_int64_t count) {
    ByteSource& source = static_cast<ArchiveReader*>(self)->source_;
    const std::optional<std::uint64_t> from = source.seek(0, SEEK_CUR);
    if (!from || !source.seek(count, SEEK_CUR)) return 0;
    return count;
  }
  static la_int64_t seek(struct archive*, void* self, la_int64_t offset, int whence) {
    const std::optional<std::uint64_t> place = static_cast<ArchiveReader*>(self)->source_.seek(offset, whence);
    return place ? static_cast<la_int64_t>(*place) : la_int64_t{ARCHIVE_FATAL};
  }
};

ArchiveReader::ArchiveReader(ByteSource& source, std::string fallbackName, Spending& spending,
                             const std::uint64_t& bytesRead)
    : source_(source),
      fallbackName_(std::move(fallbackName)),
      spending_(spending),
      bytesRead_(bytesRead),
      archive_(archive_read_new()),
      buffer_(kReadBytes) {
  if (!archive_) throw std::bad_alloc();
  supportFormats(archive_);
  archive_read_set_callback_data(archive_, this);
  archive_read_set_read_callback(archive_, Callbacks::read);
  if (!source.canSeek()) return;
  archive_read_set_skip_callback(archive_, Callbacks::skip);
  archive_read_set_seek_callback(archive_, Callbacks::seek);
}

ArchiveReader::~ArchiveReader() { archive_read_free(archive_); }

bool ArchiveReader::open() {
  opened_ = true;
  const int status = archive_read_open1(archive_);
  if (status < ARCHIVE_WARN) noteError(status);
  return status >= ARCHIVE_WARN;
}

ArchiveReader::Next ArchiveReader::next(Member& member) {
  error_.clear();
  if (!opened_ && !open()) return Next::failed;
  const int status = archive_read_next_header(archive_, &entry_);
  if (status == ARCHIVE_EOF) return Next::end;
  if (status < ARCHIVE_WARN) noteError(status);
  if (status == ARCHIVE_FATAL) return Next::failed;
  if (status < ARCHIVE_WARN) return Next::skipped;
  describe(member);
  return Next::member;
}

bool ArchiveReader::isPlain() const {
  return archive_format(archive_) == ARCHIVE_FORMAT_RAW && archive_filter_count(archive_) <= 1;
}

bool ArchiveReader::isCompressedFile() const {
  return archive_format(archive_) == ARCHIVE_FORMAT_RAW && archive_filter_count(archive_) > 1;
}

bool beginsCompressedFile(std::string_view beginning) {
  BytesSource source(beginning);
  Spending spending{Limits()};
  const std::uint64_t bytesRead = beginning.size();
  ArchiveReader reader(source, "", spending, bytesRead);
  Member member;
  return reader.next(member) == ArchiveReader::Next::member && reader.isCompressedFile();
}

void ArchiveReader::describe(Member& member) const {
  const bool isRaw = archive_format(archive_) == ARCHIVE_FORMAT_RAW;
  member.path = isRaw ? fallbackName_ : pathOf(entry_);
  member.type = typeOf(entry_);
  member.size.reset();
  member.modified.reset();
  if (archive_entry_size_is_set(entry_)) member.size = static_cast<std::uint64_t>(archive_entry_size(entry_));
  if (archive_entry_mtime_is_set(entry_) && !isRaw) member.modified = archive_entry_mtime(entry_);
  member.mode = static_cast<std::uint32_t>(archive_entry_perm(entry_));
  member.link =
      orEmpty(member.type == MemberType::hardLink ? archive_entry_hardlink(entry_) : archive_entry_symlink(entry_));
}

std::optional<std::size_t> ArchiveReader::read(void* buffer, std::size_t size) {
  const la_ssize_t count = archive_read_data(archive_, buffer, size);
  if (count < 0) {
    noteError(static_cast<int>(count));
    return std::nullopt;
  }
  if (!spending_.addBytes(static_cast<std::uint64_t>(count), bytesRead_)) {
    error_ = spending_.message();
    return std::nullopt;
  }
  return static_cast<std::size_t>(count);
}

void ArchiveReader::noteError(int status) {
  error_ = orEmpty(archive_error_string(archive_));
  if (error_.empty()) error_ = "cannot be read, libarchive status " + std::to_string(status);
}

}  // namespace arbtree::tool

// One archive, read member by member from a source, through libarchive. The content of a member can be read until the
// next one is asked for, and may itself be the source of another reader.
#ifndef ARBTREE_TOOL_ARCHIVE_READER_H
#define ARBTREE_TOOL_ARCHIVE_READER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "byte_source.h"
#include "input_limits.h"

struct archive;
struct archive_entry;

namespace arbtree::tool {

enum class MemberType : std::uint8_t { file, directory, symbolicLink, hardLink, other };

// What an archive says of a member. The path is as the archive has it, byte for byte.
struct Member {
  std::string path;
  MemberType type = MemberType::file;
  std::optional<std::uint64_t> size;
  std::optional<std::int64_t> modified;  // seconds since 1970
  std::uint32_t mode = 0;
  std::string link;  // the target of a link
};

class ArchiveReader {
 public:
  enum class Next { member, skipped, end, failed };

  // A compressed file that is no archive counts as one with a single member, which gets the fallback name. Bytes that
  // come out are charged to `spending`, in proportion to what `input` has read.
  ArchiveReader(ByteSource& source, std::string fallbackName, Spending& spending, const std::uint64_t& bytesRead);
  ~ArchiveReader();
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  // Goes to the next member. skipped: the member cannot be read, see error(), but the next ones perhaps can; failed:
  // the archive cannot be read any further.
  Next next(Member& member);
  // The content of the member, as ByteSource::read.
  std::optional<std::size_t> read(void* buffer, std::size_t size);
  const std::string& error() const { return error_; }
  // After the first member: the bytes are neither an archive nor compressed, and are that member as they stand.
  bool isPlain() const;
  // Likewise: they are compressed, but hold no archive.
  bool isCompressedFile() const;

 private:
  struct Callbacks;  // what libarchive calls

  bool open();
  void describe(Member& member) const;
  void noteError(int status);

  ByteSource& source_;
  const std::string fallbackName_;
  Spending& spending_;
  const std::uint64_t& bytesRead_;
  struct archive* archive_;
  struct archive_entry* entry_ = nullptr;
  std::vector<char> buffer_;
  std::string error_;
  bool opened_ = false;
};

// Whether bytes that begin like this are a compressed file that holds no archive.
bool beginsCompressedFile(std::string_view beginning);

// The content of the member that a reader has come to.
class MemberSource final : public ByteSource {
 public:
  // Borrows the reader, or owns it and what it reads from.
  explicit MemberSource(ArchiveReader& reader) : reader_(reader) {}
  MemberSource(std::unique_ptr<ByteSource> source, std::unique_ptr<ArchiveReader> reader)
      : ownedSource_(std::move(source)), ownedReader_(std::move(reader)), reader_(*ownedReader_) {}
  std::optional<std::size_t> read(void* buffer, std::size_t size) override { return reader_.read(buffer, size); }
  const std::string& error() const override { return reader_.error(); }

 private:
  const std::unique_ptr<ByteSource> ownedSource_;
  const std::unique_ptr<ArchiveReader> ownedReader_;
  ArchiveReader& reader_;
};

}  // namespace arbtree::tool

#endif

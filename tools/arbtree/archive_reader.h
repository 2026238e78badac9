// One archive of a chain, read entry by entry with libarchive out of a byte source, and the two sources that libarchive
// gives: the content of an archive's entry, and what a compressed stream unpacks to.
#ifndef ARBTREE_TOOL_ARCHIVE_READER_H
#define ARBTREE_TOOL_ARCHIVE_READER_H

#include <archive.h>
#include <archive_entry.h>

#include <memory>
#include <optional>
#include <string>
#include <unordered_set>

#include "byte_source.h"
#include "content_kind.h"
#include "content_limits.h"
#include "gzip_source.h"

namespace arbtree::tool {

struct FreeArchive {
  void operator()(archive* handle) const { archive_read_free(handle); }
};
using ArchiveHandle = std::unique_ptr<archive, FreeArchive>;

// What libarchive reads from: a source, of whose bytes the last ones can be kept. libarchive unpacks all that it has of
// a member at once, so only small pieces let one look at the beginning of a member without unpacking the rest.
//
// What has been given out lately can be read again, as far as it was given out in one go: that is where a header is.
class ArchiveFeed {
 public:
  ArchiveFeed(ByteSource& source, std::size_t tailBytes) : source_(source), tailBytes_(tailBytes) {}

  // Begins to keep the tail.
  void keepTail(std::size_t bytes) { tailBytes_ = bytes; }
  // Whether blocks are given out in pieces from now on.
  void givePieces(bool pieces) { givesPieces_ = pieces; }

  std::optional<std::string_view> next();
  std::int64_t skip(std::int64_t count);
  std::int64_t seek(std::int64_t offset, int whence);
  ByteSource& source() const { return source_; }
  std::string_view tail() const { return tail_; }
  bool beginsWithZipMember() const { return beginsWithZipMember_; }
  // Up to `count` bytes, as many as are at hand, that end at a position of the source.
  std::string lately(std::int64_t end, std::size_t count) const;

 private:
  void keep(std::string_view block);
  void rememberBlock();
  void jump(std::int64_t position);

  ByteSource& source_;
  std::string_view block_;     // that the source gave last
  std::string_view rest_;      // of it
  std::string before_;         // the end of what came before it
  std::int64_t position_ = 0;  // where the rest begins
  bool givesPieces_ = false;
  bool beginsWithZipMember_ = false;
  std::size_t tailBytes_;
  std::string tail_;  // at least the last tailBytes_ that there were
};

class ArchiveReader {
 public:
  enum class Step { entry, end, failed };

  // Borrows the source. Throws std::bad_alloc.
  ArchiveReader(ByteSource& source, ContentKind format);

  // Goes on to the next entry, past what is left of the current one. After a failure nothing more can be read.
  Step next();
  archive_entry& entry() const { return *entry_; }
  // The current entry's name, byte for byte where the archive has bytes; none if it has none that can be told, or none
  // of its own.
  const std::optional<std::string>& name() const { return name_; }
  // The content of the current entry, good until the next step. REQUIRES: the reader outlives it.
  std::unique_ptr<ByteSource> content(Budget& budget);
  // What is wrong with the header of the current entry, or was with others passed over before it; mostly nothing.
  const std::string& warning() const { return warning_; }
  // Why a step failed.
  const std::string& error() const { return error_; }

 private:
  std::string reason();
  Step fail(std::string reason);
  Step finish();
  int nextHeader();
  bool zipHasGap() const;
  bool isTable() const;
  bool isItsOwn(const std::string& name);
  std::optional<std::string> tellName() const;
  std::optional<std::string> nameInZipHeader() const;
  bool endsInFull();
  bool drain();
  std::uint64_t readTail();

  ArchiveFeed feed_;
  ArchiveHandle archive_;
  const ContentKind format_;
  std::uint64_t discBytes_ = 0;  // that the image of a disc must have
  bool opened_ = false;
  archive_entry* entry_ = nullptr;
  std::optional<std::string> name_;                 // of the current entry
  std::unordered_set<std::string> convertedNames_;  // of all entries so far, as far as there may be others like them
  std::uint64_t headers_ = 0;                       // read so far, the damaged ones too
  std::uint64_t leastMembers_ = 0;                  // that the end of the archive says it has
  std::string error_;
  std::string warning_;
  std::string damage_;  // what was wrong with a header that was passed over
};

// The unpacked bytes of a compressed stream; borrows the source.
std::unique_ptr<ByteSource> decompress(ByteSource& source, Budget& budget);

}  // namespace arbtree::tool

#endif

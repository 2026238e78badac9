// One archive of a chain, read entry by entry with libarchive out of a byte source, and the two sources that libarchive
// gives: the content of an archive's entry, and what a compressed stream unpacks to.
#ifndef ARBTREE_TOOL_ARCHIVE_READER_H
#define ARBTREE_TOOL_ARCHIVE_READER_H

#include <archive.h>
#include <archive_entry.h>

#include <memory>
#include <string>

#include "byte_source.h"
#include "content_kind.h"
#include "content_limits.h"

namespace arbtree::tool {

struct FreeArchive {
  void operator()(archive* handle) const { archive_read_free(handle); }
};
using ArchiveHandle = std::unique_ptr<archive, FreeArchive>;

// What libarchive reads from: a source, of whose bytes the last ones can be kept. libarchive unpacks all that it has of
// a member at once, so only small pieces let one look at the beginning of a member without unpacking the rest.
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
  ByteSource& source() { return source_; }
  std::string_view tail() const { return tail_; }

 private:
  void keep(std::string_view block);

  ByteSource& source_;
  std::string_view rest_;  // of the block that the source gave last
  bool givesPieces_ = false;
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
  // The content of the current entry, good until the next step. REQUIRES: the reader outlives it.
  std::unique_ptr<ByteSource> content(Budget& budget);
  // Why a step failed.
  const std::string& error() const { return error_; }

 private:
  Step fail(std::string reason);
  Step finish();
  bool endsInFull();
  bool drain();
  void readTail();

  ArchiveFeed feed_;
  ArchiveHandle archive_;
  const ContentKind format_;
  bool opened_ = false;
  archive_entry* entry_ = nullptr;
  std::string error_;
};

// The unpacked bytes of a compressed stream; borrows the source.
std::unique_ptr<ByteSource> decompress(ByteSource& source, Budget& budget);

}  // namespace arbtree::tool

#endif

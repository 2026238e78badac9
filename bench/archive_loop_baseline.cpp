// The bare loop over an archive and the archives in it that the tool is measured against: libarchive's own readers,
// each pulling from the entry outside it, and nothing else. Entries whose names end like an archive's are opened.
//
//   archive_loop_baseline list|read FILE      prints the number of entries; read also reads every entry to its end
#include <archive.h>
#include <archive_entry.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;

std::uint64_t entries = 0;
bool readAll = false;

la_ssize_t readOuter(archive*, void* outer, const void** bytes) {
  std::size_t size = 0;
  la_int64_t offset = 0;
  const int status = archive_read_data_block(static_cast<archive*>(outer), bytes, &size, &offset);
  return status == ARCHIVE_EOF ? 0 : status == ARCHIVE_OK ? static_cast<la_ssize_t>(size) : -1;
}

bool isArchive(std::string_view name) {
  for (const std::string_view end : {".tar", ".gz", ".xz", ".zst", ".zip"}) {
    if (name.ends_with(end)) return true;
  }
  return false;
}

archive* makeReader() {
  archive* const reader = archive_read_new();
  archive_read_support_filter_all(reader);
  archive_read_support_format_all(reader);
  return reader;
}

void readThrough(archive* reader) {
  const void* bytes = nullptr;
  std::size_t size = 0;
  la_int64_t offset = 0;
  while (archive_read_data_block(reader, &bytes, &size, &offset) == ARCHIVE_OK) continue;
}

// As deep as the archives of the benchmark are nested, which is three levels.
bool loop(archive* reader) {
  archive_entry* entry = nullptr;
  int status = ARCHIVE_OK;
  while ((status = archive_read_next_header(reader, &entry)) == ARCHIVE_OK) {
    ++entries;
    if (isArchive(archive_entry_pathname(entry))) {
      archive* const inner = makeReader();
      if (archive_read_open(inner, reader, nullptr, readOuter, nullptr) != ARCHIVE_OK || !loop(inner)) return false;
      archive_read_free(inner);
    } else if (readAll) {
      readThrough(reader);
    }
  }
  return status == ARCHIVE_EOF;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: archive_loop_baseline list|read FILE\n");
    return 2;
  }
  readAll = std::strcmp(argv[1], "read") == 0;
  archive* const reader = makeReader();
  if (archive_read_open_filename(reader, argv[2], kBlockBytes) != ARCHIVE_OK || !loop(reader)) {
    std::fprintf(stderr, "archive_loop_baseline: %s: %s\n", argv[2], archive_error_string(reader));
    return 1;
  }
  archive_read_free(reader);
  std::printf("%llu\n", static_cast<unsigned long long>(entries));
  return 0;
}

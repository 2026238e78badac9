// Streams: byte queues in memory and in files.
//
// Callers follow a stream pointer without asking, so a record never goes away while the library is loaded. Closing it
// replaces its functions by those of a closed stream, and puts it at the end of the free list; opening takes the first,
// once many have been closed since, so that a handle kept by mistake is noticed.
//   records = open + free;  a record is on the free list exactly when its functions are kClosed
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "arbtree/baseutil.h"
#include "common/answer.h"
#include "common/export.h"
#include "common/immortal.h"
#include "common/utf16.h"

namespace {

using arbtree::standins::answer;

struct Stream : BaseStream {
  // In memory: the bytes before `consumed` have been read.
  std::vector<unsigned char> bytes;
  std::size_t consumed = 0;
  std::uint32_t limit = 0;  // 0: none

  // In a file: where the next transfer of each kind goes.
  std::FILE* file = nullptr;
  std::int64_t readPosition = 0;
  std::int64_t writePosition = 0;

  Stream* nextFree = nullptr;  // while on the free list

  std::size_t unread() const { return bytes.size() - consumed; }
};

struct Registry {
  std::mutex mutex;
  std::deque<Stream> records;
  std::unordered_set<const BaseStream*> addresses;  // of the records
  Stream* firstFree = nullptr;
  Stream* lastFree = nullptr;
  std::size_t freeCount = 0;
};

// Closed streams that are not opened again yet.
constexpr std::size_t kResting = 1000;

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

std::uint32_t resultOfErrno(int error) {
  switch (error) {
    case ENOSPC:
    case EFBIG:
#ifdef EDQUOT
    case EDQUOT:
#endif
      return BASE_IO_FULL;
    case ENOMEM:
      return BASE_IO_NOMEMORY;
    case EBADF:
      return BASE_IO_HANDLE;
    case ENOENT:
    case ENOTDIR:
      return BASE_IO_NOTFOUND;
    default:
      return BASE_IO_FAILED;
  }
}

// ---------------------------------------------------------------------------------------------------------------------
// In memory
// ---------------------------------------------------------------------------------------------------------------------

std::uint32_t readMemory(Stream& stream, void* buffer, std::uint32_t byteCount, std::uint32_t* transferred) {
  const std::size_t count = std::min<std::size_t>(byteCount, stream.unread());
  if (count) std::memcpy(buffer, stream.bytes.data() + stream.consumed, count);
  stream.consumed += count;
  *transferred = static_cast<std::uint32_t>(count);
  return count == byteCount ? BASE_IO_OK : BASE_IO_END;
}

// Gives back the space of bytes read, once they are at least as many as those to move.
void dropConsumed(Stream& stream) {
  if (stream.consumed < stream.unread()) return;
  stream.bytes.erase(stream.bytes.begin(), stream.bytes.begin() + static_cast<std::ptrdiff_t>(stream.consumed));
  stream.consumed = 0;
}

std::uint32_t writeMemory(Stream& stream, const void* buffer, std::uint32_t byteCount, std::uint32_t* transferred) {
  std::size_t count = byteCount;
  if (stream.limit) count = std::min<std::size_t>(count, stream.limit - stream.unread());
  return answer(
      [&] {
        dropConsumed(stream);
        const auto* const first = static_cast<const unsigned char*>(buffer);
        if (count) stream.bytes.insert(stream.bytes.end(), first, first + count);
        *transferred = static_cast<std::uint32_t>(count);
        return count == byteCount ? BASE_IO_OK : BASE_IO_FULL;
      },
      BASE_IO_NOMEMORY);
}

// ---------------------------------------------------------------------------------------------------------------------
// In a file
// ---------------------------------------------------------------------------------------------------------------------

int seekTo(std::FILE* file, std::int64_t position) {
#ifdef _WIN32
  return _fseeki64(file, position, SEEK_SET);
#else
  return fseeko(file, static_cast<off_t>(position), SEEK_SET);
#endif
}

std::uint32_t readFile(Stream& stream, void* buffer, std::uint32_t byteCount, std::uint32_t* transferred) {
  if (!byteCount) return BASE_IO_OK;
  if (seekTo(stream.file, stream.readPosition) != 0) return resultOfErrno(errno);
  std::clearerr(stream.file);  // what an earlier transfer left is not this one's result
  const std::size_t count = std::fread(buffer, 1, byteCount, stream.file);
  const int error = errno;
  stream.readPosition += static_cast<std::int64_t>(count);
  *transferred = static_cast<std::uint32_t>(count);
  if (count == byteCount) return BASE_IO_OK;
  return std::ferror(stream.file) ? resultOfErrno(error) : BASE_IO_END;
}

std::uint32_t writeFile(Stream& stream, const void* buffer, std::uint32_t byteCount, std::uint32_t* transferred) {
  if (!byteCount) return BASE_IO_OK;
  if (seekTo(stream.file, stream.writePosition) != 0) return resultOfErrno(errno);
  const std::size_t count = std::fwrite(buffer, 1, byteCount, stream.file);
  const int error = errno;
  stream.writePosition += static_cast<std::int64_t>(count);
  *transferred = static_cast<std::uint32_t>(count);
  return count == byteCount ? BASE_IO_OK : resultOfErrno(error);
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, CloseFile>;

// Null on failure, with errno saying why: EILSEQ for a path that is not well-formed.
std::FILE* openFile(const char16_t* path, std::uint32_t mode) {
#ifdef _WIN32
  return _wfopen(reinterpret_cast<const wchar_t*>(path), mode == BASE_OPEN_CREATE ? L"w+b" : L"rb");
#else
  std::string utf8;
  if (!arbtree::standins::appendUtf8(path, &utf8)) {
    errno = EILSEQ;
    return nullptr;
  }
  return std::fopen(utf8.c_str(), mode == BASE_OPEN_CREATE ? "w+b" : "rb");
#endif
}

// ---------------------------------------------------------------------------------------------------------------------
// The functions behind a stream handle
// ---------------------------------------------------------------------------------------------------------------------

template <auto Transfer>
std::uint32_t ARB_CALL transfer(BaseStream* stream, void* buffer, std::uint32_t byteCount, std::uint32_t* transferred) {
  std::uint32_t count = 0;
  std::uint32_t result = BASE_IO_BADARG;
  if (stream && (buffer || !byteCount)) result = Transfer(*static_cast<Stream*>(stream), buffer, byteCount, &count);
  if (transferred) *transferred = count;
  return result;
}

std::uint32_t refuse(Stream&, const void*, std::uint32_t, std::uint32_t*) { return BASE_IO_HANDLE; }

void ARB_CALL leaveClosed(BaseStream*) {}
void ARB_CALL close(BaseStream* stream);

constexpr BaseStreamFunctions kMemory{close, transfer<readMemory>, transfer<writeMemory>};
constexpr BaseStreamFunctions kFile{close, transfer<readFile>, transfer<writeFile>};
constexpr BaseStreamFunctions kClosed{leaveClosed, transfer<refuse>, transfer<refuse>};

void ARB_CALL close(BaseStream* stream) {
  if (!stream) return;
  Stream& record = *static_cast<Stream*>(stream);
  if (record.file) std::fclose(record.file);  // unbuffered: every failure has been answered already
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  record = Stream{};
  record.functions = &kClosed;
  (all.lastFree ? all.lastFree->nextFree : all.firstFree) = &record;
  all.lastFree = &record;
  ++all.freeCount;
}

Stream* makeRecord(Registry& all) {
  Stream* const record = &all.records.emplace_back();
  try {
    all.addresses.insert(record);
  } catch (...) {
    all.records.pop_back();
    throw;
  }
  return record;
}

bool isStream(const BaseStream* stream) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  return all.addresses.contains(stream);
}

// A record off the free list or a new one, with nothing in it.
Stream* takeRecord(const BaseStreamFunctions* functions) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  Stream* record = all.firstFree;
  if (all.freeCount > kResting) {
    all.firstFree = record->nextFree;
    --all.freeCount;
  } else {
    record = makeRecord(all);
  }
  record->functions = functions;
  return record;
}

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL BaseStreamOpenMemory(const void* bytes, std::uint32_t byteCount,
                                                           std::uint32_t limit, BaseStream** stream) {
  if (!stream || (!bytes && byteCount)) return ARB_ERR_BADARG;
  if (limit && byteCount > limit) return BASE_ERR_FULL;
  return answer([&] {
    const auto* const first = static_cast<const unsigned char*>(bytes);
    std::vector<unsigned char> copy(first, first + byteCount);
    Stream* const record = takeRecord(&kMemory);
    record->bytes = std::move(copy);
    record->limit = limit;
    *stream = record;
    return ARB_OK;
  });
}

STANDIN_EXPORT std::uint32_t ARB_CALL BaseStreamOpenFile(const char16_t* path, std::uint32_t mode,
                                                         BaseStream** stream) {
  if (!path || !stream || mode > BASE_OPEN_CREATE) return ARB_ERR_BADARG;
  return answer([&]() -> std::uint32_t {
    FilePointer file(openFile(path, mode));
    if (!file) return errno == EILSEQ ? ARB_ERR_BADARG : BaseMapIoError(resultOfErrno(errno));
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    Stream* const record = takeRecord(&kFile);
    record->file = file.release();
    *stream = record;
    return ARB_OK;
  });
}

STANDIN_EXPORT void ARB_CALL BaseStreamClose(BaseStream* stream) {
  if (isStream(stream)) stream->functions->ownFirst(stream);
}

STANDIN_EXPORT std::uint32_t ARB_CALL BaseMapIoError(std::uint32_t ioResult) {
  switch (ioResult) {
    case BASE_IO_OK:
      return ARB_OK;
    case BASE_IO_END:
      return BASE_ERR_END;
    case BASE_IO_HANDLE:
      return BASE_ERR_HANDLE;
    case BASE_IO_FULL:
      return BASE_ERR_FULL;
    case BASE_IO_NOMEMORY:
      return ARB_ERR_NOMEMORY;
    case BASE_IO_BADARG:
      return ARB_ERR_BADARG;
    case BASE_IO_NOTFOUND:
      return ARB_ERR_NOTFOUND;
    default:
      return BASE_ERR_IO;
  }
}

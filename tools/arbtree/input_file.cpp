// Reading an input through the system's file descriptors.
#include "input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "interrupt.h"

namespace arbtree::tool {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{64} * 1024;

}  // namespace

InputFile::InputFile(std::string path) : path_(std::move(path)) {
  descriptor_ = isStandardInput() ? STDIN_FILENO : open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) {
    fail(std::strerror(errno));
    return;
  }
  examine();
}

InputFile::InputFile(int descriptor) : descriptor_(descriptor) { examine(); }

void InputFile::examine() {
  const bool isRegular = fstat(descriptor_, &status_) == 0 && S_ISREG(status_.st_mode);
  if (isRegular) size_ = static_cast<std::uint64_t>(status_.st_size);
}

std::unique_ptr<InputFile> InputFile::spool(ByteSource& source, std::string& problem) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
  bool good = file != nullptr;
  while (good) {
    const auto block = source.next();
    if (!block) {
      problem = source.error();
      return nullptr;
    }
    if (block->empty()) break;
    good = std::fwrite(block->data(), 1, block->size(), file.get()) == block->size();
  }
  good = good && std::fflush(file.get()) == 0;
  const int descriptor = good ? fcntl(fileno(file.get()), F_DUPFD_CLOEXEC, 0) : -1;
  if (descriptor < 0 || lseek(descriptor, 0, SEEK_SET) < 0) {
    problem = std::string("no temporary file for a format that cannot be streamed: ") + std::strerror(errno);
    if (descriptor >= 0) close(descriptor);
    return nullptr;
  }
  return std::unique_ptr<InputFile>(new InputFile(descriptor));
}

InputFile::~InputFile() {
  if (descriptor_ >= 0 && !isStandardInput()) close(descriptor_);
}

std::string InputFile::name() const {
  if (isStandardInput()) return "stdin";
  return path_.substr(path_.rfind('/') + 1);
}

std::int64_t InputFile::seek(std::int64_t offset, int whence) {
  const off_t position = lseek(descriptor_, offset, whence);
  if (position >= 0) seekedTo(static_cast<std::uint64_t>(position));
  return position;
}

// Never past the end, where a cut file would look like a whole one.
std::int64_t InputFile::skip(std::int64_t count) {
  if (!canSeek() || hasPending() || bytesRead() >= *size_) return 0;
  count = std::min(count, static_cast<std::int64_t>(*size_ - bytesRead()));
  if (lseek(descriptor_, count, SEEK_CUR) < 0) return 0;
  skipped(static_cast<std::uint64_t>(count));
  return count;
}

std::optional<std::string_view> InputFile::pull() {
  if (!block_) block_ = std::make_unique<char[]>(kBlockBytes);
  const auto count = pullInto(block_.get(), kBlockBytes);
  if (!count) return std::nullopt;
  return std::string_view(block_.get(), *count);
}

std::optional<std::size_t> InputFile::pullInto(void* buffer, std::size_t size) {
  if (beforeReading_) beforeReading_();
  for (;;) {
    if (isInterrupted()) {
      fail("interrupted");
      return std::nullopt;
    }
    const ssize_t count = ::read(descriptor_, buffer, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno == EINTR) continue;
    fail(std::strerror(errno));
    return std::nullopt;
  }
}

}  // namespace arbtree::tool

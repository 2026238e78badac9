// Reading an input through the system's file descriptors.
#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "interrupt.h"

namespace arbtree::tool {

InputFile::InputFile(std::string path) : path_(std::move(path)) {
  descriptor_ = isStandardInput() ? STDIN_FILENO : open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) {
    error_ = std::strerror(errno);
    return;
  }
  struct stat status;
  if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
}

InputFile::~InputFile() {
  if (descriptor_ >= 0 && !isStandardInput()) close(descriptor_);
}

std::optional<std::size_t> InputFile::read(void* buffer, std::size_t size) {
  if (!error_.empty()) return std::nullopt;
  for (;;) {
    const ssize_t count = ::read(descriptor_, buffer, size);
    if (count >= 0) {
      bytesRead_ += static_cast<std::uint64_t>(count);
      return static_cast<std::size_t>(count);
    }
    if (errno == EINTR && !isInterrupted()) continue;
    error_ = std::strerror(errno);
    return std::nullopt;
  }
}

std::optional<std::uint64_t> InputFile::seek(std::int64_t offset, int whence) {
  if (!canSeek()) return std::nullopt;
  const off_t place = lseek(descriptor_, offset, whence);
  if (place < 0) return std::nullopt;
  return static_cast<std::uint64_t>(place);
}

}  // namespace arbtree::tool

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "arbtree/compwrite.h"
#include "common/utf16.h"
#include "compwrite/pending_file.h"

namespace arbtree::standins {

namespace {

// Told apart from the files of other writers, in this process and in others; what a crashed process left is skipped.
std::atomic<std::uint32_t> temporaryCounter{0};

std::uint32_t statusOfErrno() {
  switch (errno) {
    case ELOOP:
    case ENOTDIR:
    case EISDIR:
      return COMPWRITE_ERR_BLOCKED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return COMPWRITE_ERR_FULL;
    case ENOMEM:
      return ARB_ERR_NOMEMORY;
    default:
      return COMPWRITE_ERR_IO;
  }
}

constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

}  // namespace

PendingFile::~PendingFile() {
  if (file_ >= 0) ::close(file_);
  if (!temporary_.empty()) ::unlinkat(directory_, temporary_.c_str(), 0);
  if (directory_ >= 0) ::close(directory_);
}

std::uint32_t PendingFile::open(const std::u16string& directory, const std::vector<std::u16string>& parts) {
  std::string path;
  if (!appendUtf8(directory, &path)) return COMPWRITE_ERR_IO;
  directory_ = ::open(path.c_str(), kDirectoryFlags);
  if (directory_ < 0) return COMPWRITE_ERR_IO;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    target_.clear();
    if (!appendUtf8(parts[i], &target_)) return COMPWRITE_ERR_NAME;
    if (i + 1 == parts.size()) break;
    if (const std::uint32_t status = enter(target_); status != ARB_OK) return status;
  }
  return createTemporary();
}

std::uint32_t PendingFile::enter(const std::string& part) {
  if (::mkdirat(directory_, part.c_str(), 0777) != 0 && errno != EEXIST) return statusOfErrno();
  const int inner = ::openat(directory_, part.c_str(), kDirectoryFlags | O_NOFOLLOW);
  if (inner < 0) return statusOfErrno();
  ::close(std::exchange(directory_, inner));
  return ARB_OK;
}

std::uint32_t PendingFile::createTemporary() {
  char name[64];
  do {
    const unsigned count = temporaryCounter.fetch_add(1, std::memory_order_relaxed);
    std::snprintf(name, sizeof name, ".arbtree-%ld-%u.tmp", static_cast<long>(::getpid()), count);
    temporary_ = name;
    file_ = ::openat(directory_, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  } while (file_ < 0 && errno == EEXIST);
  if (file_ >= 0) return ARB_OK;
  temporary_.clear();
  return statusOfErrno();
}

std::uint32_t PendingFile::append(const void* bytes, std::uint32_t byteCount) {
  const auto* next = static_cast<const unsigned char*>(bytes);
  while (byteCount) {
    const ssize_t written = ::write(file_, next, byteCount);
    if (written < 0) {
      if (errno == EINTR) continue;
      return statusOfErrno();
    }
    next += written;
    byteCount -= static_cast<std::uint32_t>(written);
  }
  return ARB_OK;
}

std::uint32_t PendingFile::commit() {
  if (::close(std::exchange(file_, -1)) != 0) return statusOfErrno();
  if (::renameat(directory_, temporary_.c_str(), directory_, target_.c_str()) != 0) return statusOfErrno();
  temporary_.clear();
  return ARB_OK;
}

}  // namespace arbtree::standins

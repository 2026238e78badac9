// Directories are held open without sharing their deletion, so none of them can be renamed or replaced by a junction
// while a file below it is written.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <atomic>
#include <utility>

#include "arbtree/compwrite.h"
#include "compwrite/pending_file.h"

namespace arbtree::standins {

namespace {

// Told apart from the files of other writers, in this process and in others; what a crashed process left is skipped.
std::atomic<std::uint32_t> temporaryCounter{0};

std::uint32_t statusOfLastError() {
  switch (GetLastError()) {
    case ERROR_DIRECTORY:
    case ERROR_ACCESS_DENIED:  // also the answer for a directory in a file's place
      return COMPWRITE_ERR_BLOCKED;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return COMPWRITE_ERR_FULL;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return ARB_ERR_NOMEMORY;
    default:
      return COMPWRITE_ERR_IO;
  }
}

HANDLE openDirectory(const std::wstring& path, DWORD flags) {
  return CreateFileW(path.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                     FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr);
}

// The path without limits of length and without special names: behind this prefix a name such as "nul" or one with a
// dot at its end is a name like any other.
std::wstring literalPath(const std::u16string& directory) {
  const auto* const given = reinterpret_cast<const wchar_t*>(directory.c_str());
  std::wstring full(GetFullPathNameW(given, 0, nullptr, nullptr), L'\0');
  full.resize(GetFullPathNameW(given, static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\")) return full;
  if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
  return L"\\\\?\\" + full;
}

// Gives a file the place of another. For the moment in which somebody else replaces, reads or checks that one Windows
// refuses, so this is asked again for about a second.
bool replaceFile(const std::wstring& file, const std::wstring& target) {
  constexpr DWORD kAttempts = 45;
  for (DWORD attempt = 1;; ++attempt) {
    if (MoveFileExW(file.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
    const DWORD error = GetLastError();
    const DWORD attributes = GetFileAttributesW(target.c_str());
    const bool forGood = attributes != INVALID_FILE_ATTRIBUTES &&
                         (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0;
    const bool forAMoment = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
    if (forGood || !forAMoment || attempt == kAttempts) {
      SetLastError(error);
      return false;
    }
    Sleep(attempt);
  }
}

std::wstring wide(const std::u16string& part) { return {part.begin(), part.end()}; }

}  // namespace

PendingFile::~PendingFile() {
  if (file_) CloseHandle(file_);
  if (!temporary_.empty()) DeleteFileW(temporary_.c_str());
  for (void* const directory : directories_) CloseHandle(directory);
}

std::uint32_t PendingFile::open(const std::u16string& directory, const std::vector<std::u16string>& parts) {
  directories_.reserve(parts.size());
  path_ = literalPath(directory);
  const HANDLE root = openDirectory(path_, 0);
  if (root == INVALID_HANDLE_VALUE) return COMPWRITE_ERR_IO;
  directories_.push_back(root);
  if (!path_.ends_with(L'\\')) path_ += L'\\';
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    path_ += wide(parts[i]);
    if (const std::uint32_t status = enter(path_); status != ARB_OK) return status;
    path_ += L'\\';
  }
  target_ = path_ + wide(parts.back());
  return createTemporary();
}

std::uint32_t PendingFile::enter(const std::wstring& path) {
  if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) return statusOfLastError();
  const HANDLE inner = openDirectory(path, FILE_FLAG_OPEN_REPARSE_POINT);
  if (inner == INVALID_HANDLE_VALUE) return statusOfLastError();
  directories_.push_back(inner);
  BY_HANDLE_FILE_INFORMATION information;
  if (!GetFileInformationByHandle(inner, &information)) return statusOfLastError();
  const DWORD kind = information.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
  return kind == FILE_ATTRIBUTE_DIRECTORY ? ARB_OK : COMPWRITE_ERR_BLOCKED;
}

std::uint32_t PendingFile::createTemporary() {
  HANDLE file;
  do {
    const std::wstring count = std::to_wstring(temporaryCounter.fetch_add(1, std::memory_order_relaxed));
    temporary_ = path_ + L".arbtree-" + std::to_wstring(GetCurrentProcessId()) + L"-" + count + L".tmp";
    file = CreateFileW(temporary_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  } while (file == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS);
  if (file == INVALID_HANDLE_VALUE) {
    temporary_.clear();
    return statusOfLastError();
  }
  file_ = file;
  return ARB_OK;
}

std::uint32_t PendingFile::append(const void* bytes, std::uint32_t byteCount) {
  DWORD written;
  return WriteFile(file_, bytes, byteCount, &written, nullptr) ? ARB_OK : statusOfLastError();
}

std::uint32_t PendingFile::commit() {
  if (!CloseHandle(std::exchange(file_, nullptr))) return statusOfLastError();
  if (!replaceFile(temporary_, target_)) return statusOfLastError();
  temporary_.clear();
  return ARB_OK;
}

}  // namespace arbtree::standins

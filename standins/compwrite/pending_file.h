// A file that is being written below a directory: it has a temporary name beside its target until it is committed, and
// is removed when it goes away before that.
//
// Each directory on the way is opened in the one before it, and nothing that stands for another place (a symbolic link,
// a junction) is followed, also when the directories are changed by others meanwhile.
#ifndef ARBTREE_STANDINS_COMPWRITE_PENDING_FILE_H
#define ARBTREE_STANDINS_COMPWRITE_PENDING_FILE_H

#include <cstdint>
#include <string>
#include <vector>

namespace arbtree::standins {

// The calls answer ARB_OK or a COMPWRITE_ERR_... status; open may throw std::bad_alloc.
class PendingFile {
 public:
  PendingFile() = default;
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  ~PendingFile();

  // Makes the directories that are missing, and the temporary file. REQUIRES: parts checked, at least one; called once.
  std::uint32_t open(const std::u16string& directory, const std::vector<std::u16string>& parts);

  // REQUIRES for both: open has answered ARB_OK. Nothing is appended after commit.
  std::uint32_t append(const void* bytes, std::uint32_t byteCount);
  std::uint32_t commit();

 private:
#ifdef _WIN32
  std::uint32_t enter(const std::wstring& path);
  std::uint32_t createTemporary();

  std::vector<void*> directories_;  // held open, and thereby in place
  void* file_ = nullptr;
  std::wstring path_;  // of the innermost directory, with a separator at its end
  std::wstring target_;
  std::wstring temporary_;  // empty: none to remove
#else
  std::uint32_t enter(const std::string& part);
  std::uint32_t createTemporary();

  int directory_ = -1;  // the innermost
  int file_ = -1;
  std::string target_;
  std::string temporary_;  // empty: none to remove
#endif
};

}  // namespace arbtree::standins

#endif

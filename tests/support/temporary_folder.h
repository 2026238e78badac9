// A folder of its own for a test, gone with all that is in it when the test is over.
#ifndef ARBTREE_TESTS_SUPPORT_TEMPORARY_FOLDER_H
#define ARBTREE_TESTS_SUPPORT_TEMPORARY_FOLDER_H

#include <filesystem>
#include <random>
#include <string>

namespace arbtree::test {

// On Windows: the path without limits of length and without special names.
inline std::filesystem::path literal(std::filesystem::path path) {
#ifdef _WIN32
  return L"\\\\?\\" + path.make_preferred().wstring();
#else
  return path;
#endif
}

class TemporaryFolder {
 public:
  TemporaryFolder() { std::filesystem::create_directory(path); }
  ~TemporaryFolder() { std::filesystem::remove_all(literal(path)); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("arbtree-test-" + std::to_string(std::random_device{}()));
};

}  // namespace arbtree::test

#endif

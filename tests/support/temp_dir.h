// A folder of its own for one test, removed with everything in it when the test ends.
#ifndef MOLDEX_TESTS_SUPPORT_TEMP_DIR_H_
#define MOLDEX_TESTS_SUPPORT_TEMP_DIR_H_

#include <filesystem>
#include <random>
#include <string>

#include "support/tree.h"

namespace moldex::test {

class TempDir {
 public:
  TempDir() {
    std::random_device random;
    do {
      const std::string name = "moldex-" + std::to_string(random());
      path_ = std::filesystem::temp_directory_path() / name;
    } while (!std::filesystem::create_directory(path_));
    std::filesystem::permissions(path_, std::filesystem::perms(0755));  // others may enter
  }
  ~TempDir() { RemoveTree(path_); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_TEMP_DIR_H_

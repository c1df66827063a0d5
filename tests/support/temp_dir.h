// A folder of its own for one test, removed with everything in it when the test ends.
#ifndef MOLDEX_TESTS_SUPPORT_TEMP_DIR_H_
#define MOLDEX_TESTS_SUPPORT_TEMP_DIR_H_

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp is POSIX

#include <filesystem>
#include <stdexcept>
#include <string>

namespace moldex::test {

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "moldex-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder " + pattern);
    path_ = pattern;
    std::filesystem::permissions(path_, std::filesystem::perms(0755));  // others may enter
  }
  ~TempDir() {
    std::error_code ignored;
    OpenUp(path_);
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  // A test may leave folders that their owner cannot enter; only root could remove those.
  static void OpenUp(const std::filesystem::path& folder) {
    std::error_code ignored;
    std::filesystem::permissions(folder, std::filesystem::perms(0700), ignored);
    for (const auto& item : std::filesystem::directory_iterator(folder, ignored)) {
      if (!item.is_symlink(ignored) && item.is_directory(ignored)) OpenUp(item.path());
    }
  }

  std::filesystem::path path_;
};

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_TEMP_DIR_H_

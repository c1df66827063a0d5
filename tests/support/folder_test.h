// The base of tests with files: a private folder, and access to its files by name.
#ifndef MOLDEX_TESTS_SUPPORT_FOLDER_TEST_H_
#define MOLDEX_TESTS_SUPPORT_FOLDER_TEST_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {

class FolderTest : public ::testing::Test {
 protected:
  std::filesystem::path Path(const std::string& name) const { return folder_.Path() / name; }
  std::string Name(const std::string& name) const { return Path(name).string(); }
  std::string Bytes(const std::string& name) const { return ReadFile(Path(name)); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }
  void Write(const std::string& name, const std::string& bytes) const {
    WriteFile(Path(name), bytes);
  }
  void Make(const Tree& tree) const { MakeTree(folder_.Path(), tree); }
  Tree Below(const std::string& name) const { return Exists(name) ? ReadTree(Path(name)) : Tree(); }
  // The tree below in one line, without modes and times: files with their content ("d/x=1"), and
  // empty directories ("e/").
  std::string Listing(const std::string& name) const {
    const Tree tree = Below(name);
    std::string line;
    for (const auto& [path, node] : tree) {
      const bool is_folder = node.kind == Kind::kDirectory;
      const auto inside = is_folder ? tree.lower_bound(path + "/") : tree.end();
      if (inside != tree.end() && inside->first.starts_with(path + "/")) continue;
      line += (line.empty() ? "" : " ") + path + (is_folder ? "/" : "=" + node.content);
    }
    return line;
  }
  void Remove(const std::string& name) const { RemoveTree(Path(name)); }

  const TempDir folder_;
};

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_FOLDER_TEST_H_

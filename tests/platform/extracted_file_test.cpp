// Files that come out of an archive: what may already stand under their name, and who may see them.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/file_handle.h"
#include "report/system_error.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kExtracted = kOpenCreate | kOpenExtracted;

class ExtractedFile : public testing::Test {
 protected:
  fs::path Path(const char* name) const { return folder_.Path() / name; }
  bool Open(const char* name) { return file_.Open(Path(name).string(), kExtracted); }
  // The content goes in through the open file, not through the name.
  void ExpectContentArrivesIn(const char* name) {
    const std::uint8_t bytes[] = {'n', 'e', 'w'};
    EXPECT_EQ(file_.Write(bytes).bytes, 3u);
    EXPECT_TRUE(file_.Close());
    EXPECT_EQ(ReadTree(folder_.Path())[name].kind, Kind::kFile);
    EXPECT_EQ(ReadFile(Path(name)), "new");
  }

  TempDir folder_;
  CFileHandle file_;
};

TEST_F(ExtractedFile, IsItsOwnersAloneUntilItGetsPermissions) {
  MakeTree(folder_.Path(), {{"open", FileNode("old and longer", 0777)},
                            {"special", FileNode("old", 06755)},
                            {"closed", FileNode("old", 0400)}});
  for (const char* name : {"fresh", "open", "special", "closed"}) {
    ASSERT_TRUE(Open(name)) << name;
    EXPECT_EQ(file_.Status()->mode & 07777, 0600u) << name;
    EXPECT_EQ(file_.Status()->size_bytes, 0u) << name;
    EXPECT_TRUE(file_.SetPermissions(0644));
    EXPECT_EQ(file_.Status()->mode & 07777, 0644u) << name;
    ExpectContentArrivesIn(name);
  }
}

TEST_F(ExtractedFile, ReplacesASymbolicLinkInsteadOfFollowingIt) {
  const Tree targets = {{"victim", FileNode("victim", 0640)}, {"folder", DirectoryNode()}};
  MakeTree(folder_.Path(), targets);
  MakeTree(folder_.Path(), {{"1", SymlinkNode("victim")},
                            {"2", SymlinkNode("folder")},
                            {"3", SymlinkNode("nowhere")},
                            {"4", SymlinkNode("4")},
                            {"5", SymlinkNode("1")},
                            {"6", SymlinkNode("/dev/null")}});
  for (const char* name : {"5", "1", "2", "3", "4", "6"}) {
    ASSERT_TRUE(Open(name)) << name;
    EXPECT_EQ(file_.Status()->mode & 07777, 0600u) << name;
    ExpectContentArrivesIn(name);
  }
  const Tree after = ReadTree(folder_.Path());
  EXPECT_EQ(after.at("victim"), targets.at("victim"));
  EXPECT_EQ(after.at("folder"), targets.at("folder"));
  EXPECT_FALSE(after.contains("nowhere")) << "a link to nowhere was followed";
}

TEST_F(ExtractedFile, RefusesWhatIsNoRegularFileAndLeavesIt) {
  MakeTree(folder_.Path(), {{"fifo", FifoNode()}, {"folder/file", FileNode("1")}});
  const Tree before = ReadTree(folder_.Path());
  for (const char* name : {"fifo", "folder", "folder/file/below", "missing/file"}) {
    RememberErrno(0);
    EXPECT_FALSE(Open(name)) << name;
    EXPECT_FALSE(file_.IsValid()) << name;
    EXPECT_NE(LastSystemError().code, 0u) << name;
  }
  EXPECT_EQ(ReadTree(folder_.Path()), before);
}

}  // namespace
}  // namespace moldex::test

// What every backend promises of files and directories by name.
#include "platform/file_services.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "report/system_error.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

namespace fs = std::filesystem;

class FileServices : public testing::Test {
 protected:
  FileServices() {
    MakeTree(folder_.Path(), {{"file", FileNode("abc", 0640, 1000000000)},
                              {"folder/inner", FileNode("1")},
                              {"to_file", SymlinkNode("file")},
                              {"to_folder", SymlinkNode("folder")},
                              {"to_nowhere", SymlinkNode("nowhere")},
                              {"fifo", FifoNode()}});
    RememberErrno(0);
  }
  std::string Path(const std::string& name) const { return (folder_.Path() / name).string(); }

  TempDir folder_;
};

TEST_F(FileServices, ExistenceFollowsLinksAndKnowsWhatItCannotTell) {
  const std::pair<std::string, Existence> cases[] = {
      {"file", Existence::kExists},          {"folder", Existence::kExists},
      {"folder/", Existence::kExists},       {"to_file", Existence::kExists},
      {"fifo", Existence::kExists},          {"missing", Existence::kMissing},
      {"missing/file", Existence::kMissing}, {"to_nowhere", Existence::kMissing},
      {"file/below", Existence::kUnknown},   {std::string(1000, 'n'), Existence::kUnknown}};
  for (const auto& [name, existence] : cases) {
    RememberErrno(0);
    EXPECT_EQ(TestExistence(Path(name)), existence) << name;
    EXPECT_EQ(LastSystemError().code != 0, existence == Existence::kUnknown) << name;
  }
}

TEST_F(FileServices, StatusFollowsLinksAndLinkStatusDoesNot) {
  struct {
    const char* name;
    FileKind kind;
    FileKind link_kind;
  } const cases[] = {{"file", FileKind::kRegular, FileKind::kRegular},
                     {"folder", FileKind::kDirectory, FileKind::kDirectory},
                     {"to_file", FileKind::kRegular, FileKind::kSymbolicLink},
                     {"to_folder", FileKind::kDirectory, FileKind::kSymbolicLink},
                     {"fifo", FileKind::kOther, FileKind::kOther}};
  for (const auto& c : cases) {
    ASSERT_TRUE(QueryStatus(Path(c.name)) && QueryLinkStatus(Path(c.name))) << c.name;
    EXPECT_EQ(QueryStatus(Path(c.name))->kind, c.kind) << c.name;
    EXPECT_EQ(QueryLinkStatus(Path(c.name))->kind, c.link_kind) << c.name;
  }
  EXPECT_FALSE(QueryStatus(Path("to_nowhere")));
  EXPECT_TRUE(QueryLinkStatus(Path("to_nowhere")));
  EXPECT_FALSE(QueryStatus(Path("missing")) || QueryLinkStatus(Path("missing")));
  EXPECT_NE(LastSystemError().code, 0u);
}

TEST_F(FileServices, StatusTellsSizeDateModeAndIdentity) {
  fs::create_hard_link(Path("file"), Path("second_name"));
  const FileStatus status = QueryStatus(Path("file")).value();
  EXPECT_EQ(status.size_bytes, 3u);
  EXPECT_EQ(status.modified.seconds, 1000000000);
  EXPECT_EQ(status.mode, kModeRegular | 0640);
  EXPECT_EQ(QueryStatus(Path("to_file"))->identity, status.identity);
  EXPECT_EQ(QueryStatus(Path("second_name"))->identity, status.identity);
  EXPECT_NE(QueryLinkStatus(Path("to_file"))->identity, status.identity);
  EXPECT_NE(QueryStatus(Path("folder/inner"))->identity, status.identity);
  EXPECT_EQ(QueryStatus(Path("folder"))->size_bytes, 0u);
  EXPECT_EQ(QueryStatus(Path("folder"))->mode & kModeKindMask, kModeDirectory);
}

TEST_F(FileServices, CreatingADirectoryAcceptsWhatIsThere) {
  for (const char* name : {"new", "new", "file", "folder", "to_nowhere"})
    EXPECT_TRUE(CreateDirectoryAt(Path(name))) << name;
  EXPECT_TRUE(fs::is_directory(Path("new")));
  EXPECT_EQ(ReadFile(Path("file")), "abc");
  EXPECT_EQ(LastSystemError().code, 0u);
  EXPECT_FALSE(CreateDirectoryAt(Path("missing/new"))) << "one level at a time";
  EXPECT_NE(LastSystemError().code, 0u);
  EXPECT_FALSE(CreateDirectoryAt(Path("file/new")));
}

TEST_F(FileServices, DeletingTakesANameAndNoDirectory) {
  EXPECT_TRUE(DeleteFileAt(Path("to_file")));
  EXPECT_EQ(ReadFile(Path("file")), "abc");
  EXPECT_TRUE(DeleteFileAt(Path("file")));
  EXPECT_FALSE(fs::exists(Path("file")));
  for (const char* name : {"file", "folder"}) {
    RememberErrno(0);
    EXPECT_FALSE(DeleteFileAt(Path(name))) << name;
    EXPECT_NE(LastSystemError().code, 0u) << name;
  }
  EXPECT_TRUE(fs::exists(Path("folder/inner")));
}

}  // namespace
}  // namespace moldex::test

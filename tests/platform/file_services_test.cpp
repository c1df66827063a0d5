// The promises of every backend about files and directories by name.
#include "platform/file_services.h"

#include "report/system_error.h"
#include "support/folder_test.h"

namespace moldex::test {
namespace {

class FileServices : public FolderTest {
 protected:
  FileServices() {
    Make({{"file", FileNode("abc", 0640, 1000000000)},
          {"folder/inner", FileNode("1")},
          {"to_file", SymlinkNode("file")},
          {"to_folder", SymlinkNode("folder")},
          {"to_nowhere", SymlinkNode("nowhere")},
          {"fifo", FifoNode()}});
    RememberErrno(0);
  }
};

TEST_F(FileServices, ExistenceFollowsLinksAndKnowsWhatItCannotTell) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "no links and pipes there";
  const std::pair<std::string, std::optional<Existence>> cases[] = {
      {"file", Existence::kExists},          {"folder", Existence::kExists},
      {"folder/", Existence::kExists},       {"to_file", Existence::kExists},
      {"fifo", Existence::kExists},          {"missing", Existence::kMissing},
      {"missing/file", Existence::kMissing}, {"to_nowhere", Existence::kMissing},
      {"file/below", std::nullopt},          {std::string(1000, 'n'), std::nullopt}};
  for (const auto& [name, existence] : cases) {
    RememberErrno(0);
    EXPECT_EQ(TestExistence(Name(name)).AsOptional(), existence) << name;
    EXPECT_EQ(LastSystemError().code != 0, !existence) << name;
  }
}

TEST_F(FileServices, StatusFollowsLinksAndLinkStatusDoesNot) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "no links and pipes there";
  const std::tuple<const char*, FileKind, FileKind> cases[] = {
      {"file", FileKind::kRegular, FileKind::kRegular},
      {"folder", FileKind::kDirectory, FileKind::kDirectory},
      {"to_file", FileKind::kRegular, FileKind::kSymbolicLink},
      {"to_folder", FileKind::kDirectory, FileKind::kSymbolicLink},
      {"fifo", FileKind::kOther, FileKind::kOther}};
  for (const auto& [name, kind, link_kind] : cases) {
    ASSERT_TRUE(QueryStatus(Name(name)) && QueryLinkStatus(Name(name))) << name;
    EXPECT_EQ(QueryStatus(Name(name))->kind, kind) << name;
    EXPECT_EQ(QueryLinkStatus(Name(name))->kind, link_kind) << name;
  }
  EXPECT_FALSE(QueryStatus(Name("to_nowhere")));
  EXPECT_TRUE(QueryLinkStatus(Name("to_nowhere")));
  EXPECT_FALSE(QueryStatus(Name("missing")) || QueryLinkStatus(Name("missing")));
  EXPECT_NE(LastSystemError().code, 0u);
}

TEST_F(FileServices, StatusTellsSizeDateModeAndIdentity) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "no permissions there";
  std::filesystem::create_hard_link(Name("file"), Name("second_name"));
  const FileStatus status = *QueryStatus(Name("file"));
  EXPECT_EQ(status.size_bytes, 3u);
  EXPECT_EQ(status.modified.seconds, 1000000000);
  EXPECT_EQ(status.mode, kModeRegular | 0640);
  EXPECT_EQ(QueryStatus(Name("to_file"))->identity, status.identity);
  EXPECT_EQ(QueryStatus(Name("second_name"))->identity, status.identity);
  EXPECT_NE(QueryLinkStatus(Name("to_file"))->identity, status.identity);
  EXPECT_NE(QueryStatus(Name("folder/inner"))->identity, status.identity);
  EXPECT_EQ(QueryStatus(Name("folder"))->size_bytes, 0u);
  EXPECT_EQ(QueryStatus(Name("folder"))->mode & kModeKindMask, kModeDirectory);
}

TEST_F(FileServices, CreatingADirectoryAcceptsOneThatIsThere) {
  for (const char* name : {"new", "new", "folder", "to_folder"})
    EXPECT_TRUE(CreateDirectoryAt(Name(name))) << name;
  EXPECT_TRUE(std::filesystem::is_directory(Name("new")));
  EXPECT_EQ(Bytes("file"), "abc");
  EXPECT_EQ(LastSystemError().code, 0u);
  EXPECT_FALSE(CreateDirectoryAt(Name("missing/new"))) << "one level at a time";
  EXPECT_NE(LastSystemError().code, 0u);
  for (const char* name : {"file/new", "file", "to_file", "to_nowhere"}) {
    if (*name == 't' && !kHasLinksAndModes) continue;
    EXPECT_FALSE(CreatePrivateDirectoryAt(Name(name))) << name;
  }
}

TEST_F(FileServices, DeletingTakesANameAndNoDirectory) {
  EXPECT_EQ(DeleteFileAt(Name("to_file")).ok(), kHasLinksAndModes);
  EXPECT_EQ(Bytes("file"), "abc");
  EXPECT_TRUE(DeleteFileAt(Name("file")));
  EXPECT_FALSE(Exists("file"));
  for (const char* name : {"file", "folder"}) {
    RememberErrno(0);
    EXPECT_FALSE(DeleteFileAt(Name(name))) << name;
    EXPECT_NE(LastSystemError().code, 0u) << name;
  }
  EXPECT_TRUE(Exists("folder/inner"));
}

}  // namespace
}  // namespace moldex::test

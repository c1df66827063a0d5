// What only the Windows side of the seam does.
#include <gtest/gtest.h>

#include <windows.h>

#include <cerrno>
#include <string>
#include <vector>

#include "codepage/code_page.h"
#include "codepage/name_conversion.h"
#include "platform/attributes.h"
#include "platform/file_handle.h"
#include "platform/file_services.h"
#include "platform/long_name.h"
#include "platform/security.h"
#include "report/system_error.h"
#include "support/temp_dir.h"

namespace moldex::test {
namespace {

class OnlyWindows : public testing::Test {
 protected:
  ~OnlyWindows() override { SetLongNameMode(false); }
  std::string Path(const std::string& name) const { return (folder_.Path() / name).string(); }
  std::string MakeFile(const std::string& name) const {
    WriteFile(Path(name), "content");
    return Path(name);
  }

  TempDir folder_;
};

TEST_F(OnlyWindows, ErrorsAreTheSystemsAndTheRuntimesNumbers) {
  const struct {
    DWORD code;
    int errno_value;
  } cases[] = {{ERROR_FILE_NOT_FOUND, ENOENT},
               {ERROR_PATH_NOT_FOUND, ENOENT},
               {ERROR_ACCESS_DENIED, EACCES},
               {ERROR_SHARING_VIOLATION, EACCES},
               {ERROR_ALREADY_EXISTS, EEXIST},
               {ERROR_DISK_FULL, ENOSPC},
               {ERROR_SUCCESS, 0},
               {123456, EINVAL}};
  for (const auto& [code, errno_value] : cases) {
    SetLastError(code);
    RememberSystemError();
    EXPECT_EQ(LastSystemError().code, code);
    EXPECT_EQ(LastSystemError().errno_value, errno_value) << code;
  }
}

TEST_F(OnlyWindows, StatusByNameAndOfTheOpenFileAreTheSame) {
  const std::string program = MakeFile("Program.Exe");
  MakeTree(folder_.Path(), {{"folder/text", FileNode("abc", 0444, 1000000000)}});
  const struct {
    std::string path;
    std::uint32_t mode;
  } cases[] = {{program, 0100777}, {Path("folder/text"), 0100444}};
  for (const auto& [path, mode] : cases) {
    CFileHandle file;
    ASSERT_TRUE(file.Open(path, kOpenExisting)) << path;
    const auto by_name = QueryStatus(path);
    const auto open = file.Status();
    ASSERT_TRUE(by_name && open) << path;
    EXPECT_EQ(open->mode, mode) << path;
    EXPECT_EQ(by_name->mode & 0170200, mode & 0170200) << "Wine keeps to the owner's bits";
    EXPECT_EQ(by_name->identity, open->identity);
    EXPECT_EQ(by_name->size_bytes, open->size_bytes);
    EXPECT_EQ(by_name->modified.seconds, open->modified.seconds);
    EXPECT_EQ(by_name->kind, FileKind::kRegular);
  }
  EXPECT_EQ(QueryStatus(Path("folder/text"))->modified.seconds, 1000000000);
  for (const char* name : {"folder", "folder/", "folder\\", "folder/."}) {
    ASSERT_TRUE(QueryStatus(Path(name)).has_value()) << name;
    EXPECT_EQ(QueryStatus(Path(name))->kind, FileKind::kDirectory) << name;
    EXPECT_EQ(QueryStatus(Path(name))->size_bytes, 0u) << name;
    EXPECT_EQ(QueryStatus(Path(name))->identity, QueryLinkStatus(Path("folder"))->identity) << name;
  }
  EXPECT_FALSE(QueryStatus(Path("missing")).has_value());
  EXPECT_EQ(LastSystemError().errno_value, ENOENT);
}

TEST_F(OnlyWindows, NamesLeadToWhatIsThere) {
  const std::string file = MakeFile("file");
  ASSERT_TRUE(CreateDirectoryAt(Path("folder")));
  EXPECT_TRUE(CreateDirectoryAt(Path("folder"))) << "there already";
  EXPECT_FALSE(CreateDirectoryAt(Path("missing/folder")));
  EXPECT_EQ(TestExistence(file), Existence::kExists);
  EXPECT_EQ(TestExistence(Path("folder/")), Existence::kExists);
  EXPECT_EQ(TestExistence(Path("missing/file")), Existence::kMissing);
  EXPECT_FALSE(DeleteFileAt(Path("folder")));
  EXPECT_TRUE(DeleteFileAt(file));
  EXPECT_EQ(TestExistence(file), Existence::kMissing);
}

TEST_F(OnlyWindows, PermissionsSayWhetherAFileMayBeWritten) {
  const std::string path = MakeFile("file");
  CFileHandle file;
  ASSERT_TRUE(file.Open(path, kOpenReadWrite));
  for (const std::uint32_t bits : {0644u, 0444u, 0200u, 0u, 0777u}) {
    const bool writable = (bits & 0200) != 0;
    EXPECT_TRUE(file.SetPermissions(bits));
    EXPECT_EQ((GetFileAttributesA(path.c_str()) & kAttributeReadOnly) == 0, writable) << bits;
    EXPECT_TRUE(SetPermissionsAt(path, bits ^ 0200));
    EXPECT_EQ((GetFileAttributesA(path.c_str()) & kAttributeReadOnly) == 0, !writable) << bits;
  }
}

TEST_F(OnlyWindows, AnErrorsSentenceEndsWithItsOwnLineBreak) {
  SetLastError(ERROR_FILE_NOT_FOUND);
  RememberSystemError();
  const std::string text = LastSystemErrorText();
  ASSERT_GT(text.size(), 2u);
  EXPECT_EQ(text.find('\n'), text.size() - 1);
  EXPECT_EQ(text.find('\r'), std::string::npos) << "standard output adds it";
  RememberErrno(0);
  EXPECT_EQ(LastSystemErrorText(), "");
}

TEST_F(OnlyWindows, AttributesAreSetOnFilesAndAddedToDirectories) {
  const std::string path = MakeFile("file");
  CFileHandle file;
  ASSERT_TRUE(file.Open(path, kOpenReadWrite));
  EXPECT_TRUE(file.SetAttributes(kAttributeHidden | kAttributeSystem, false));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(GetFileAttributesA(path.c_str()) & 7, 6u);
  EXPECT_TRUE(SetAttributesAt(path, kAttributeReadOnly, false));
  EXPECT_EQ(GetFileAttributesA(path.c_str()) & 7, 1u);
  EXPECT_TRUE(SetPermissionsAt(path, 0644));
  EXPECT_EQ(GetFileAttributesA(path.c_str()) & 7, 0u);
  ASSERT_TRUE(CreateDirectoryAt(Path("folder")));
  EXPECT_TRUE(SetDirectoryModeAt(Path("folder"), 0x40000 | 0x4180, true));
  EXPECT_TRUE(SetDirectoryModeAt(Path("folder"), 0x80000 | 0x4180, true));
  EXPECT_EQ(GetFileAttributesA(Path("folder").c_str()) & 0x16, 0x16u);
  EXPECT_FALSE(SetDirectoryModeAt(Path("missing"), 0x4180, true));
}

TEST_F(OnlyWindows, AHiddenFileIsReplaced) {
  const std::string path = MakeFile("file");
  ASSERT_TRUE(SetAttributesAt(path, kAttributeHidden | kAttributeSystem, false));
  CFileHandle file;
  EXPECT_TRUE(file.Open(path, kOpenCreate | kOpenExtracted));
  EXPECT_EQ(file.Status()->size_bytes, 0u);
}

TEST_F(OnlyWindows, LongNameModeTakesPathsAsTheyComeAndRefusesDirectories) {
  SetLongNameMode(true);
  const std::string path = MakeFile("file");
  std::string slashed = path;
  for (char& c : slashed)
    c = c == '\\' ? '/' : c;
  ASSERT_TRUE(QueryStatus(slashed).has_value());
  EXPECT_EQ(QueryStatus(slashed)->kind, FileKind::kRegular);
  EXPECT_EQ(QueryStatus(slashed)->size_bytes, 7u);
  EXPECT_EQ(
      QueryStatus(slashed)->identity,
      QueryStatus(Path("../x/../" + folder_.Path().filename().string() + "/./file"))->identity);
  EXPECT_EQ(TestExistence(slashed), Existence::kExists);
  EXPECT_EQ(TestExistence(Path("missing")), Existence::kMissing);
  CFileHandle file;
  EXPECT_TRUE(file.Open(slashed, kOpenExisting));
  EXPECT_EQ(file.Status()->identity, QueryStatus(path)->identity);
  EXPECT_FALSE(file.Open(folder_.Path().string(), kOpenExisting)) << "with backup semantics";
  EXPECT_FALSE(file.IsValid());
}

TEST_F(OnlyWindows, PrivilegesAreAskedForOnceAndDescriptorsAreRestored) {
  std::string why;
  (void)AcquirePrivileges(&why);
  EXPECT_TRUE(AcquirePrivileges(&why)) << "whatever came of the first time";
  // The list of discretionary access alone: everything to everybody.
  const std::vector<std::uint8_t> descriptor = {
      1, 0, 0x04, 0x80, 0, 0, 0,  0, 0,    0,    0,    0, 0, 0, 0, 0, 20, 0, 0, 0, 2, 0, 28, 0,
      1, 0, 0,    0,    0, 0, 20, 0, 0xFF, 0x01, 0x1F, 0, 1, 1, 0, 0, 0,  0, 0, 1, 0, 0, 0,  0};
  why.clear();
  RestoreSecurity(MakeFile("file"), descriptor, &why);
  EXPECT_TRUE(why.empty() || why.starts_with("MOLDEX: Error while setting security info:\n\t"))
      << why;
  EXPECT_FALSE(RestoreSecurity(Path("missing"), descriptor, &why));
  EXPECT_TRUE(why.starts_with("MOLDEX: Error while setting security info:\n\t")) << why;
  EXPECT_FALSE(RestoreSecurity(Path("file"), std::vector<std::uint8_t>(20), &why));
  EXPECT_TRUE(why.starts_with("MOLDEX: Error converting relative to absolute")) << why;
}

TEST_F(OnlyWindows, ABackupThatTheSystemRefusesIsAFailureAndLeavesNothingOpen) {
  CFileHandle file;
  ASSERT_TRUE(file.Open(MakeFile("file"), kOpenReadWrite));
  std::vector<std::uint8_t> buffer(100);
  const Transfer transfer = file.BackupRead(buffer);
  if (transfer.ok) {
    EXPECT_GE(transfer.bytes, 27u) << "a head and the content";
  } else {
    EXPECT_EQ(LastSystemError().code, static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  }
  EXPECT_TRUE(file.FinishBackup());
  EXPECT_TRUE(file.Close());
}

TEST_F(OnlyWindows, FreeSpaceIsKnownForADirectoryAndNotForNone) {
  EXPECT_GT(DiskFreeSpace(folder_.Path().string()).value_or(0), 0);
  EXPECT_FALSE(DiskFreeSpace(Path("missing")).has_value());
}

// Through the system's converter, whatever the code page of this process is.
TEST_F(OnlyWindows, ConversionEndsAtWhatHasNoCounterpart) {
  const struct {
    std::string utf8;
    std::size_t converted;  // bytes of output; the whole when complete
    bool complete;
  } cases[] = {{"", 0, true},
               {"plain", 5, true},
               {"a\xFF"
                "b",
                1, false},
               {"a\xC3", 1, false}};
  for (const auto& [utf8, converted, complete] : cases) {
    std::vector<char> output(32);
    const Converted result = ConvertThroughSystem(Direction::kToLocal, utf8, output);
    EXPECT_EQ(result.bytes, converted) << utf8;
    EXPECT_EQ(result.complete, complete) << utf8;
  }
  std::vector<char> small(3);
  EXPECT_FALSE(ConvertThroughSystem(Direction::kToUtf8, "plain", small).complete);
  const std::string umlaut = "\xC3\xA4\xC3\xB6";
  std::vector<char> local(32);
  std::vector<char> back(32);
  const Converted there = ConvertThroughSystem(Direction::kToLocal, umlaut, local);
  ASSERT_TRUE(there.complete);
  const Converted here =
      ConvertThroughSystem(Direction::kToUtf8, std::string(local.data(), there.bytes), back);
  EXPECT_EQ(std::string(back.data(), here.bytes), umlaut);
}

}  // namespace
}  // namespace moldex::test

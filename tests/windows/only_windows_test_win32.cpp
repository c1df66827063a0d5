// Calls that only the Windows side of the seam has.
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
#include "support/folder_test.h"

namespace moldex::test {
namespace {

class OnlyWindows : public FolderTest {
 protected:
  ~OnlyWindows() override { SetLongNameMode(false); }
  std::string MakeFile(const std::string& name) const {
    Write(name, "content");
    return Name(name);
  }
  // The attributes "read-only", "hidden", "system" and "directory".
  DWORD Attributes(const std::string& name) const {
    return GetFileAttributesA(Name(name).c_str()) & 0x17;
  }
};

TEST_F(OnlyWindows, ErrorsAreTheSystemsAndTheRuntimesNumbers) {
  const std::pair<DWORD, int> cases[] = {{ERROR_FILE_NOT_FOUND, ENOENT},
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
  SetLastError(ERROR_FILE_NOT_FOUND);
  RememberSystemError();
  const std::string text = LastSystemErrorText();
  ASSERT_GT(text.size(), 2u);
  EXPECT_EQ(text.find('\n'), text.size() - 1) << "its own line break";
  EXPECT_EQ(text.find('\r'), std::string::npos) << "standard output adds it";
  RememberErrno(0);
  EXPECT_EQ(LastSystemErrorText(), "");
}

TEST_F(OnlyWindows, StatusByNameAndOfTheOpenFileAreTheSame) {
  const std::string program = MakeFile("Program.Exe");
  Make({{"folder/text", FileNode("abc", 0444, 1000000000)}});
  const std::pair<std::string, std::uint32_t> cases[] = {{program, 0100777},
                                                         {Name("folder/text"), 0100444}};
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
  EXPECT_EQ(QueryStatus(Name("folder/text"))->modified.seconds, 1000000000);
  for (const char* name : {"folder", "folder/", "folder\\", "folder/."}) {
    ASSERT_TRUE(QueryStatus(Name(name))) << name;
    EXPECT_EQ(QueryStatus(Name(name))->kind, FileKind::kDirectory) << name;
    EXPECT_EQ(QueryStatus(Name(name))->size_bytes, 0u) << name;
    EXPECT_EQ(QueryStatus(Name(name))->identity, QueryLinkStatus(Name("folder"))->identity) << name;
  }
  EXPECT_FALSE(QueryStatus(Name("missing")));
  EXPECT_EQ(LastSystemError().errno_value, ENOENT);
  EXPECT_EQ(TestExistence(program), Existence::kExists);
  EXPECT_EQ(TestExistence(Name("folder/")), Existence::kExists);
  EXPECT_EQ(TestExistence(Name("missing/file")), Existence::kMissing);
}

TEST_F(OnlyWindows, AttributesAreSetOnFilesAndAddedToDirectories) {
  const std::string path = MakeFile("file");
  CFileHandle file;
  ASSERT_TRUE(file.Open(path, kOpenReadWrite));
  EXPECT_TRUE(file.SetAttributes(kAttributeHidden | kAttributeSystem, false));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(Attributes("file"), 6u);
  EXPECT_FALSE(file.Open(path, kOpenCreate | kOpenExtracted | kOpenNew));
  EXPECT_TRUE(file.Open(path, kOpenCreate | kOpenExtracted)) << "a hidden file is replaced";
  EXPECT_EQ(file.Status()->size_bytes, 0u);
  EXPECT_TRUE(file.Close());
  EXPECT_TRUE(SetAttributesAt(path, kAttributeReadOnly, false));
  EXPECT_EQ(Attributes("file"), 1u);
  EXPECT_TRUE(SetPermissionsAt(path, 0644));
  EXPECT_EQ(Attributes("file"), 0u);
  ASSERT_TRUE(CreateDirectoryAt(Name("folder")));
  EXPECT_TRUE(AddDirectoryAttributesAt(Name("folder"), 0x40000 | 0x4180));
  EXPECT_TRUE(AddDirectoryAttributesAt(Name("folder"), 0x80000 | 0x4180));
  EXPECT_EQ(Attributes("folder"), 0x16u);
  EXPECT_FALSE(SetDirectoryModeAt(Name("missing"), 0x4180, true));
}

TEST_F(OnlyWindows, LongNameModeTakesPathsAsTheyComeAndRefusesDirectories) {
  SetLongNameMode(true);
  const std::string path = MakeFile("file");
  const std::string slashed = Path("file").generic_string();
  ASSERT_TRUE(QueryStatus(slashed));
  EXPECT_EQ(QueryStatus(slashed)->kind, FileKind::kRegular);
  EXPECT_EQ(QueryStatus(slashed)->size_bytes, 7u);
  EXPECT_EQ(
      QueryStatus(slashed)->identity,
      QueryStatus(Name("../x/../" + folder_.Path().filename().string() + "/./file"))->identity);
  EXPECT_EQ(TestExistence(slashed), Existence::kExists);
  EXPECT_EQ(TestExistence(Name("missing")), Existence::kMissing);
  CFileHandle file;
  EXPECT_TRUE(file.Open(slashed, kOpenExisting));
  EXPECT_EQ(file.Status()->identity, QueryStatus(path)->identity);
  EXPECT_FALSE(file.Open(folder_.Path().string(), kOpenExisting)) << "with backup semantics";
  EXPECT_FALSE(file.IsValid());
}

TEST_F(OnlyWindows, PrivilegesAreAskedForOnceAndDescriptorsAreRestored) {
  (void)AcquirePrivileges();
  EXPECT_TRUE(AcquirePrivileges()) << "whatever came of the first time";
  // The list of discretionary access alone: everything to everybody.
  const std::vector<std::uint8_t> descriptor = {
      1, 0, 0x04, 0x80, 0, 0, 0,  0, 0,    0,    0,    0, 0, 0, 0, 0, 20, 0, 0, 0, 2, 0, 28, 0,
      1, 0, 0,    0,    0, 0, 20, 0, 0xFF, 0x01, 0x1F, 0, 1, 1, 0, 0, 0,  0, 0, 1, 0, 0, 0,  0};
  const char* kSetting = "MOLDEX: Error while setting security info:\n\t";
  const auto restored = RestoreSecurity(MakeFile("file"), descriptor);
  EXPECT_TRUE(restored || restored.error().what == kSetting) << restored.error().what;
  const auto missing = RestoreSecurity(Name("missing"), descriptor);
  EXPECT_FALSE(missing);
  EXPECT_EQ(missing.error().what, kSetting);
  EXPECT_NE(missing.error().error.code, 0u);
  const auto damaged = RestoreSecurity(Name("file"), std::vector<std::uint8_t>(20));
  EXPECT_FALSE(damaged);
  EXPECT_TRUE(damaged.error().what.starts_with("MOLDEX: Error converting relative to absolute"));
}

TEST_F(OnlyWindows, ABackupThatTheSystemRefusesIsAFailureAndLeavesNothingOpen) {
  CFileHandle file;
  ASSERT_TRUE(file.Open(MakeFile("file"), kOpenReadWrite));
  std::vector<std::uint8_t> buffer(100);
  const auto read = file.BackupRead(buffer);
  if (read) {
    EXPECT_GE(*read, 27u) << "a head and the content";
  } else {
    EXPECT_EQ(LastSystemError().code, static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  }
  EXPECT_TRUE(file.EndBackup());
  EXPECT_TRUE(file.Close());
}

TEST_F(OnlyWindows, FreeSpaceIsKnownForADirectoryAndNotForNone) {
  EXPECT_GT(DiskFreeSpace(folder_.Path().string()).value_or(0), 0);
  EXPECT_FALSE(DiskFreeSpace(Name("missing")));
}

// Through the system's converter, whatever the code page of this process is.
TEST_F(OnlyWindows, ConversionEndsAtWhatHasNoCounterpart) {
  const auto convert = [](Direction direction, const std::string& text, std::size_t room = 32) {
    std::vector<char> output(room);
    const Converted result = ConvertThroughSystem(direction, text, output);
    return std::pair(std::string(output.data(), result.bytes), result.complete);
  };
  using Answer = std::pair<std::string, bool>;
  for (const char* text : {"", "plain"})
    EXPECT_EQ(convert(Direction::kToLocal, text), Answer(text, true));
  for (const char* text : {"a\xFFz", "a\xC3"})
    EXPECT_EQ(convert(Direction::kToLocal, text), Answer("a", false));
  EXPECT_FALSE(convert(Direction::kToUtf8, "plain", 3).second);
  const std::string umlauts = "\xC3\xA4\xC3\xB6";
  const auto [local, complete] = convert(Direction::kToLocal, umlauts);
  ASSERT_TRUE(complete);
  EXPECT_EQ(convert(Direction::kToUtf8, local).first, umlauts);
}

}  // namespace
}  // namespace moldex::test

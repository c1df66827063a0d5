// What every backend of CFileHandle promises.
#include "platform/file_handle.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file_services.h"
#include "report/except.h"
#include "report/system_error.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kGiB = 1u << 30;

class FileHandle : public testing::Test {
 protected:
  std::string Path(const char* name) const { return (folder_.Path() / name).string(); }

  std::string MakeFile(const std::string& content) const {
    WriteFile(folder_.Path() / "file", content);
    return Path("file");
  }

  static Transfer Write(CFileHandle& file, std::string_view text) {
    return file.Write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  }

  // What a read of `count` bytes gave; "failed" when it failed.
  static std::string Read(CFileHandle& file, std::size_t count) {
    std::vector<std::uint8_t> buffer(count);
    const Transfer transfer = file.Read(buffer);
    if (!transfer.ok) return "failed";
    return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(transfer.bytes)};
  }

  TempDir folder_;
};

TEST_F(FileHandle, FlagsSayWhatHappensToAnExistingFile) {
  struct {
    unsigned flags;
    std::uint32_t position;
    bool writable;
    const char* content;  // after "xy" was written
  } const cases[] = {{kOpenExisting, 0, false, "0123456789"},
                     {kOpenAtEnd, 10, false, "0123456789"},
                     {kOpenReadWrite, 0, true, "xy23456789"},
                     {kOpenReadWrite | kOpenAtEnd, 10, true, "0123456789xy"},
                     {kOpenCreate, 0, true, "xy"},
                     {kOpenCreate | kOpenReadWrite, 0, true, "xy"},
                     {kOpenCreate | kOpenExtracted, 0, true, "xy"}};
  for (const auto& c : cases) {
    const std::string path = MakeFile("0123456789");
    CFileHandle file;
    ASSERT_TRUE(file.Open(path, c.flags)) << c.flags;
    EXPECT_EQ(file.GetPosition(), c.position) << c.flags;
    EXPECT_EQ(Write(file, "xy").ok, c.writable) << c.flags;
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadFile(path), c.content) << c.flags;
  }
}

TEST_F(FileHandle, AFailedOpenClosesWhatWasOpenAndRemembersWhy) {
  const std::string other = MakeFile("1");
  fs::create_directory(Path("directory"));
  struct {
    const char* name;
    unsigned flags;
  } const cases[] = {{"missing", kOpenExisting},    {"missing", kOpenReadWrite},
                     {"missing/file", kOpenCreate}, {"missing/file", kOpenCreate | kOpenExtracted},
                     {"file/below", kOpenExisting}, {"file/below", kOpenCreate},
                     {"directory", kOpenExisting},  {"directory", kOpenReadWrite},
                     {"directory", kOpenCreate},    {"directory", kOpenCreate | kOpenExtracted},
                     {"directory", kOpenAtEnd},     {"", kOpenExisting}};
  for (const auto& c : cases) {
    CFileHandle file;
    ASSERT_TRUE(file.Open(other, kOpenExisting));
    RememberErrno(0);
    EXPECT_FALSE(file.Open(*c.name == '\0' ? "" : Path(c.name), c.flags)) << c.name << c.flags;
    EXPECT_FALSE(file.IsValid()) << c.name << c.flags;
    EXPECT_NE(LastSystemError().code, 0u) << c.name << c.flags;
  }
  EXPECT_FALSE(fs::exists(Path("missing"))) << "opening an existing file created it";
  EXPECT_TRUE(fs::is_directory(Path("directory")));
}

TEST_F(FileHandle, AnInvalidHandleRefusesEverything) {
  CFileHandle file;
  EXPECT_TRUE(file.Close()) << "there is nothing to close";
  EXPECT_EQ(Read(file, 1), "failed");
  EXPECT_FALSE(Write(file, "1").ok);
  EXPECT_FALSE(file.Skip(0, 0));
  EXPECT_FALSE(file.SeekToEnd());
  EXPECT_FALSE(file.Status().has_value());
  EXPECT_FALSE(file.Truncate(0));
  EXPECT_FALSE(file.EndWriting());
  EXPECT_FALSE(file.SetDate(0));
  EXPECT_FALSE(file.SetPermissions(0644));
  EXPECT_THROW(file.GetPosition(), CInvalidHandle);
  EXPECT_THROW(file.SetPosition(0), CInvalidHandle);
}

TEST_F(FileHandle, SkipsForwardOnly) {
  CFileHandle file;
  ASSERT_TRUE(file.Open(MakeFile("0123456789"), kOpenExisting));
  EXPECT_TRUE(file.Skip(3, 0));
  for (const auto& [low, high] : {std::pair{-1, 0}, {0, -1}, {-1, -1}, {INT32_MIN, 0}}) {
    EXPECT_FALSE(file.Skip(low, high)) << low << ' ' << high;
    EXPECT_EQ(file.GetPosition(), 3u) << low << ' ' << high;
  }
  EXPECT_FALSE(file.Skip(INT32_MAX, INT32_MAX)) << "no position is that far";
  EXPECT_EQ(Read(file, 2), "34");
  EXPECT_TRUE(file.Skip(100, 0)) << "beyond the end";
  EXPECT_EQ(Read(file, 2), "");
}

TEST_F(FileHandle, PositionsBeyondFourGibibytesAreGivenModulo2To32) {
  CFileHandle file;
  ASSERT_TRUE(file.Open(Path("sparse"), kOpenCreate));
  ASSERT_TRUE(file.Truncate(5 * kGiB));
  EXPECT_EQ(file.GetPosition(), kGiB);
  EXPECT_TRUE(Write(file, "end").ok);
  EXPECT_EQ(file.Status()->size_bytes, 5 * kGiB + 3);
  file.SetPosition(0x80000000);
  EXPECT_EQ(file.GetPosition(), 0x80000000u);
  EXPECT_TRUE(file.Skip(static_cast<std::int32_t>(kGiB), 0));
  EXPECT_TRUE(file.Skip(0x7FFFFFFF, 0));
  EXPECT_EQ(file.GetPosition(), 0x3FFFFFFFu);
  EXPECT_TRUE(file.Skip(1, 0));
  EXPECT_EQ(Read(file, 5), "end");
  file.SetPosition(static_cast<std::uint32_t>(kGiB));
  EXPECT_TRUE(file.Skip(0, 1));
  EXPECT_EQ(Read(file, 5), "end");
  file.SetPosition(0);
  EXPECT_TRUE(file.SeekToEnd());
  EXPECT_FALSE(file.Skip(0, -1)) << "there would be room for it";
  EXPECT_EQ(file.GetPosition(), kGiB + 3);
}

TEST_F(FileHandle, AMoveLeavesOneOwner) {
  CFileHandle first;
  ASSERT_TRUE(first.Open(MakeFile("abc"), kOpenExisting));
  CFileHandle second = std::move(first);
  EXPECT_FALSE(first.IsValid());  // NOLINT: that is the claim
  EXPECT_EQ(Read(second, 1), "a");
  EXPECT_TRUE(second.Close());
  EXPECT_FALSE(second.IsValid());
  EXPECT_TRUE(second.Close()) << "closed already";
}

TEST_F(FileHandle, StatusIsOfTheOpenFileWhateverBecomesOfItsName) {
  CFileHandle file;
  ASSERT_TRUE(file.Open(MakeFile("abc"), kOpenExisting));
  const FileStatus named = QueryStatus(Path("file")).value();
  fs::rename(Path("file"), Path("renamed"));
  EXPECT_NE(QueryStatus(MakeFile("another"))->identity, named.identity);
  EXPECT_EQ(file.Status()->identity, named.identity);
  EXPECT_EQ(file.Status()->kind, FileKind::kRegular);
  EXPECT_EQ(file.Status()->mode, named.mode);
  EXPECT_EQ(file.Status()->size_bytes, 3u);
}

TEST_F(FileHandle, TruncateMovesToTheNewEnd) {
  const std::string path = MakeFile("0123456789");
  CFileHandle file;
  ASSERT_TRUE(file.Open(path, kOpenReadWrite));
  EXPECT_TRUE(file.Truncate(4));
  EXPECT_TRUE(Write(file, "x").ok);
  EXPECT_TRUE(file.Truncate(7));
  EXPECT_TRUE(Write(file, "y").ok);
  EXPECT_EQ(ReadFile(path), std::string("0123x\0\0y", 8));
}

// Dates of a file that was written to, in either way and in every order of the calls that end it.
TEST_F(FileHandle, DatesAreKeptThroughTheEndOfWriting) {
  const std::string path = Path("file");
  for (const std::uint32_t seconds : {0u, 1u, 1000000000u, 1720000000u, 0x80000001u, 0xF0000000u}) {
    for (const bool whole_file_time : {false, true}) {
      CFileHandle file;
      ASSERT_TRUE(file.Open(path, kOpenCreate | kOpenExtracted));
      ASSERT_TRUE(Write(file, "written before").ok);
      if (whole_file_time) {
        EXPECT_TRUE(file.SetLastWriteTime(FileTimeOf({seconds, 500})));
      }
      EXPECT_TRUE(file.EndWriting());
      if (!whole_file_time) {
        EXPECT_TRUE(file.SetDate(seconds));
      }
      EXPECT_TRUE(file.SetPermissions(0444));
      EXPECT_TRUE(file.Close());
      EXPECT_FALSE(file.SetDate(7)) << "closed for good";
      const FileStatus status = QueryStatus(path).value();
      EXPECT_EQ(status.modified.seconds, seconds);
      EXPECT_EQ(status.mode & 0222, 0u);
      EXPECT_EQ(ReadFile(path), "written before");
      ASSERT_TRUE(file.Open(path, kOpenExisting));
      EXPECT_EQ(file.Status()->modified.seconds, seconds);
      EXPECT_TRUE(file.Close() && SetPermissionsAt(path, 0644));
    }
  }
}

TEST_F(FileHandle, PermissionsAreNineBits) {
  const std::string path = MakeFile("1");
  CFileHandle file;
  ASSERT_TRUE(file.Open(path, kOpenReadWrite));
  for (const std::uint32_t bits : {0644u, 0u, 0777u, 07777u, 0100751u}) {
    EXPECT_TRUE(file.SetPermissions(bits));
    EXPECT_EQ(file.Status()->mode & 07777, bits & 0777) << bits;
    EXPECT_TRUE(SetPermissionsAt(path, bits ^ 1));
    EXPECT_EQ(QueryStatus(path)->mode & 07777, (bits ^ 1) & 0777) << bits;
  }
}

}  // namespace
}  // namespace moldex::test

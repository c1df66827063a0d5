// The promises of every backend of CFileHandle, also about files that come out of an archive: which
// files may already have their name, and who may see them.
#include "platform/file_handle.h"

#include <string_view>
#include <utility>
#include <vector>

#include "platform/file_services.h"
#include "report/except.h"
#include "report/system_error.h"
#include "support/folder_test.h"

namespace moldex::test {
namespace {

constexpr std::uint64_t kGiB = 1u << 30;
constexpr unsigned kExtracted = kOpenCreate | kOpenExtracted;

class FileHandle : public FolderTest {
 protected:
  std::string MakeFile(const std::string& content) const {
    FolderTest::Write("file", content);
    return Name("file");
  }

  bool Write(std::string_view text) {
    return file_.WriteAll({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}).ok();
  }

  // The bytes of a read of `count` bytes; "failed" when it failed.
  static std::string Read(CFileHandle& file, std::size_t count) {
    std::vector<std::uint8_t> buffer(count);
    const auto read = file.Read(buffer);
    if (!read) return "failed";
    return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(*read)};
  }

  void ExpectNoOpen(const std::string& path, unsigned flags) {
    SCOPED_TRACE(path + " with flags " + std::to_string(flags));
    RememberErrno(0);
    EXPECT_FALSE(file_.Open(path, flags));
    EXPECT_FALSE(file_.IsValid());
    EXPECT_NE(LastSystemError().code, 0u);
  }

  CFileHandle file_;
};

TEST_F(FileHandle, FlagsSayWhatHappensToAnExistingFile) {
  const std::tuple<unsigned, std::uint32_t, bool, const char*> cases[] = {
      {kOpenExisting, 0, false, "0123456789"},
      {kOpenAtEnd, 10, false, "0123456789"},
      {kOpenReadWrite, 0, true, "xy23456789"},
      {kOpenReadWrite | kOpenAtEnd, 10, true, "0123456789xy"},
      {kOpenCreate, 0, true, "xy"},
      {kOpenCreate | kOpenReadWrite, 0, true, "xy"},
      {kExtracted, 0, true, "xy"}};
  for (const auto& [flags, position, writable, content_with_xy] : cases) {
    const std::string path = MakeFile("0123456789");
    ASSERT_TRUE(file_.Open(path, flags)) << flags;
    EXPECT_EQ(file_.GetPosition(), position) << flags;
    EXPECT_EQ(Write("xy"), writable) << flags;
    EXPECT_TRUE(file_.Close());
    EXPECT_EQ(ReadFile(path), content_with_xy) << flags;
  }
}

TEST_F(FileHandle, AFailedOpenClosesWhatWasOpenAndRemembersWhy) {
  const std::string other = MakeFile("1");
  std::filesystem::create_directory(Path("directory"));
  const std::pair<const char*, std::vector<unsigned>> cases[] = {
      {"missing", {kOpenExisting, kOpenReadWrite}},
      {"missing/file", {kOpenCreate, kExtracted}},
      {"file/below", {kOpenExisting, kOpenCreate}},
      {"directory", {kOpenExisting, kOpenReadWrite, kOpenCreate, kExtracted, kOpenAtEnd}}};
  for (const auto& [name, all_flags] : cases) {
    for (const unsigned flags : all_flags) {
      ASSERT_TRUE(file_.Open(other, kOpenExisting));
      ExpectNoOpen(Name(name), flags);
    }
  }
  ExpectNoOpen("", kOpenExisting);
  EXPECT_FALSE(Exists("missing")) << "opening an existing file created it";
  EXPECT_TRUE(std::filesystem::is_directory(Path("directory")));
}

TEST_F(FileHandle, OneAtATimeWritesWhileOthersRead) {
  const std::string path = MakeFile("0123456789");
  CFileHandle second;
  for (const unsigned flags : {kOpenReadWrite + 0U, kOpenReadWrite | kOpenCreate}) {
    ASSERT_TRUE(file_.Open(path, kOpenReadWrite));
    ASSERT_TRUE(second.Open(path, kOpenExisting));
    EXPECT_FALSE(CFileHandle().Open(path, flags));
    EXPECT_NE(LastSystemError().code, 0u);
    EXPECT_EQ(Read(second, 20), "0123456789") << "unreadable, or emptied before it was locked";
    EXPECT_TRUE(file_.Close());
    EXPECT_TRUE(second.Open(path, flags));
    EXPECT_TRUE(second.Delete(path));
    EXPECT_FALSE(Exists("file"));
    (void)MakeFile("0123456789");
  }
}

TEST_F(FileHandle, AnInvalidHandleRefusesEverything) {
  EXPECT_TRUE(file_.Close()) << "there is nothing to close";
  EXPECT_EQ(Read(file_, 1), "failed");
  EXPECT_FALSE(Write("1"));
  EXPECT_FALSE(file_.Skip(0, 0) || file_.SeekToEnd() || file_.Status() || file_.Truncate(0));
  EXPECT_FALSE(file_.EndWriting() || file_.SetDate(0) || file_.SetPermissions(0644));
  EXPECT_THROW(file_.GetPosition(), CInvalidHandle);
  EXPECT_THROW(file_.SetPosition(0), CInvalidHandle);
}

TEST_F(FileHandle, SkipsForwardOnly) {
  ASSERT_TRUE(file_.Open(MakeFile("0123456789"), kOpenExisting));
  EXPECT_TRUE(file_.Skip(3, 0));
  for (const auto& [low, high] : {std::pair{-1, 0}, {0, -1}, {-1, -1}, {INT32_MIN, 0}}) {
    EXPECT_FALSE(file_.Skip(low, high)) << low << ' ' << high;
    EXPECT_EQ(file_.GetPosition(), 3u) << low << ' ' << high;
  }
  EXPECT_FALSE(file_.Skip(INT32_MAX, INT32_MAX)) << "no position is that far";
  EXPECT_EQ(Read(file_, 2), "34");
  EXPECT_TRUE(file_.Skip(100, 0)) << "beyond the end";
  EXPECT_EQ(Read(file_, 2), "");
}

TEST_F(FileHandle, PositionsBeyondFourGibibytesAreGivenModulo2To32) {
  ASSERT_TRUE(file_.Open(Name("sparse"), kOpenCreate));
  ASSERT_TRUE(file_.Truncate(5 * kGiB));
  EXPECT_EQ(file_.GetPosition(), kGiB);
  EXPECT_TRUE(Write("end"));
  EXPECT_EQ(file_.Status()->size_bytes, 5 * kGiB + 3);
  file_.SetPosition(0x80000000);
  EXPECT_EQ(file_.GetPosition(), 0x80000000u);
  EXPECT_TRUE(file_.Skip(static_cast<std::int32_t>(kGiB), 0));
  EXPECT_TRUE(file_.Skip(0x7FFFFFFF, 0));
  EXPECT_EQ(file_.GetPosition(), 0x3FFFFFFFu);
  EXPECT_TRUE(file_.Skip(1, 0));
  EXPECT_EQ(Read(file_, 5), "end");
  file_.SetPosition(static_cast<std::uint32_t>(kGiB));
  EXPECT_TRUE(file_.Skip(0, 1));
  EXPECT_EQ(Read(file_, 5), "end");
  file_.SetPosition(0);
  EXPECT_TRUE(file_.SeekToEnd());
  EXPECT_FALSE(file_.Skip(0, -1)) << "the file is long enough for it";
  EXPECT_EQ(file_.GetPosition(), kGiB + 3);
}

TEST_F(FileHandle, AMoveLeavesOneOwner) {
  ASSERT_TRUE(file_.Open(MakeFile("abc"), kOpenExisting));
  CFileHandle second = std::move(file_);
  EXPECT_FALSE(file_.IsValid());  // NOLINT: that is the claim
  EXPECT_EQ(Read(second, 1), "a");
  EXPECT_TRUE(second.Close());
  EXPECT_FALSE(second.IsValid());
  EXPECT_TRUE(second.Close()) << "closed already";
}

TEST_F(FileHandle, StatusIsOfTheOpenFileWhateverBecomesOfItsName) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "an open file keeps its name there";
  ASSERT_TRUE(file_.Open(MakeFile("abc"), kOpenExisting));
  const FileStatus named = *QueryStatus(Name("file"));
  std::filesystem::rename(Path("file"), Path("renamed"));
  EXPECT_NE(QueryStatus(MakeFile("another"))->identity, named.identity);
  EXPECT_EQ(file_.Status()->identity, named.identity);
  EXPECT_EQ(file_.Status()->kind, FileKind::kRegular);
  EXPECT_EQ(file_.Status()->mode, named.mode);
  EXPECT_EQ(file_.Status()->size_bytes, 3u);
}

TEST_F(FileHandle, TruncateMovesToTheNewEnd) {
  ASSERT_TRUE(file_.Open(MakeFile("0123456789"), kOpenReadWrite));
  EXPECT_TRUE(file_.Truncate(4));
  EXPECT_TRUE(Write("x"));
  EXPECT_TRUE(file_.Truncate(7));
  EXPECT_TRUE(Write("y"));
  EXPECT_EQ(Bytes("file"), std::string("0123x\0\0y", 8));
}

// Dates of a file that was written to, in either way and in every order of the calls that end it.
TEST_F(FileHandle, DatesAreKeptThroughTheEndOfWriting) {
  const std::string path = Name("file");
  for (const std::uint32_t seconds : {0u, 1u, 1000000000u, 1720000000u, 0x80000001u, 0xF0000000u}) {
    for (const bool whole_file_time : {false, true}) {
      ASSERT_TRUE(file_.Open(path, kExtracted));
      ASSERT_TRUE(Write("written before"));
      EXPECT_TRUE(!whole_file_time || file_.SetLastWriteTime(FileTimeOf({seconds, 500})));
      EXPECT_TRUE(file_.EndWriting());
      EXPECT_TRUE(whole_file_time || file_.SetDate(seconds));
      EXPECT_TRUE(file_.SetPermissions(0444));
      EXPECT_TRUE(file_.Close());
      EXPECT_FALSE(file_.SetDate(7)) << "closed for good";
      const FileStatus status = *QueryStatus(path);
      EXPECT_EQ(status.modified.seconds, seconds);
      EXPECT_EQ(status.mode & 0222, 0u);
      EXPECT_EQ(ReadFile(path), "written before");
      ASSERT_TRUE(file_.Open(path, kOpenExisting));
      EXPECT_EQ(file_.Status()->modified.seconds, seconds);
      EXPECT_TRUE(file_.Close() && SetPermissionsAt(path, 0644));
    }
  }
}

// Windows keeps one of the nine bits: whether the file may be written to.
TEST_F(FileHandle, PermissionsAreNineBits) {
  const std::string path = MakeFile("1");
  const unsigned kept = kHasLinksAndModes ? 0777 : 0200;
  ASSERT_TRUE(file_.Open(path, kOpenReadWrite));
  for (const std::uint32_t bits : {0644u, 0u, 0777u, 07777u, 0100751u, 0444u, 0200u}) {
    EXPECT_TRUE(file_.SetPermissions(bits));
    EXPECT_EQ(file_.Status()->mode & (07000 | kept), bits & kept) << bits;
    EXPECT_TRUE(SetPermissionsAt(path, bits ^ 0201));
    EXPECT_EQ(QueryStatus(path)->mode & (07000 | kept), (bits ^ 0201) & kept) << bits;
  }
}

class ExtractedFile : public FileHandle {
 protected:
  // It is its owner's alone, and the content goes in through the open file, not through the name.
  void ExpectContentArrivesIn(const std::string& name) {
    ASSERT_TRUE(file_.Open(Name(name), kExtracted)) << name;
    EXPECT_EQ(file_.Status()->mode & 07777, 0600u) << name;
    EXPECT_EQ(file_.Status()->size_bytes, 0u) << name;
    EXPECT_TRUE(file_.SetPermissions(0644));
    EXPECT_EQ(file_.Status()->mode & 07777, 0644u) << name;
    EXPECT_TRUE(Write("new"));
    EXPECT_TRUE(file_.Close());
    EXPECT_EQ(Below("")[name].kind, Kind::kFile);
    EXPECT_EQ(Bytes(name), "new");
  }
};

TEST_F(ExtractedFile, IsItsOwnersAloneAndFollowsNoSymbolicLink) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "no permissions there";
  const Tree targets = {{"victim", FileNode("victim", 0640)}, {"folder", DirectoryNode()}};
  Make(targets);
  Make({{"open", FileNode("old and longer", 0777)},
        {"special", FileNode("old", 06755)},
        {"1", SymlinkNode("victim")},
        {"2", SymlinkNode("folder")},
        {"3", SymlinkNode("nowhere")},
        {"4", SymlinkNode("4")},
        {"5", SymlinkNode("1")}});
  for (const char* name : {"fresh", "open", "special", "5", "1", "2", "3", "4"}) {
    const bool is_free = name == std::string_view("fresh");
    EXPECT_EQ(file_.Open(Name(name), kExtracted | kOpenNew).ok(), is_free) << name;
    if (is_free) std::filesystem::remove(Path(name));
    ExpectContentArrivesIn(name);
  }
  const Tree after = Below("");
  EXPECT_EQ(after.at("victim"), targets.at("victim"));
  EXPECT_EQ(after.at("folder"), targets.at("folder"));
  EXPECT_FALSE(after.contains("nowhere")) << "a link to nowhere was followed";
}

TEST_F(ExtractedFile, RefusesWhatIsNoRegularFileAndLeavesIt) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "no links and pipes there";
  Make({{"fifo", FifoNode()}, {"folder/file", FileNode("1")}, {"closed", FileNode("old", 0466)}});
  std::filesystem::create_hard_link(Path("closed"), Path("closed too"));
  const Tree before = Below("");
  for (const char* name : {"fifo", "folder", "folder/file/below", "missing/file", "closed"})
    ExpectNoOpen(Name(name), kExtracted);
  EXPECT_EQ(Below(""), before);
}

}  // namespace
}  // namespace moldex::test

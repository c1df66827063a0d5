// Archives in long-name mode and of backup streams, which only the options record can ask for: made
// through it in this process, looked at as bytes, and read back.
#include <sys/xattr.h>

#include "driver/in_process.h"
#include "support/qel_bytes.h"

namespace moldex::test {
namespace {

class LongNameCreation : public FolderTest {
 protected:
  int RunWith(const std::string& line, bool acl, bool long_names, bool backup) {
    const RunResult result = RunInProcess(folder_.Path(), line, [&](CCmdLineOptions& options) {
      options.acl = acl;
      options.long_names = long_names;
      options.backup = backup;
    });
    output_ = result.out;
    return result.status;
  }

  int CreateLong(const std::string& name, bool backup, const std::string& command = "-cf") {
    return RunWith(command + " a.qel " + name, true, true, backup);
  }

  int Extract() { return RunWith("-xf a.qel -R out", false, false, false); }

  std::vector<QelEntry> Entries() const { return ParseArchive(Bytes("a.qel")); }

  std::string output_;
};

std::uint64_t FileTimeIn(const QelEntry& entry) {
  return static_cast<std::uint64_t>(entry.time_high) << 32 | entry.time_low;
}

TEST_F(LongNameCreation, StoresFileTimesAndAttributeModes) {
  Make({{"d/plain", FileNode("1", 0644, 1000000000)},
        {"d/readonly", FileNode("1", 0444)},
        {"d/setup.exe", FileNode("1", 0644)},
        {"d/script", FileNode("1", 0755)}});
  ASSERT_EQ(CreateLong("d", false), 0) << output_;
  EXPECT_EQ(Bytes("a.qel").substr(0, 8), kLongNamesHeader);
  const auto entries = Entries();
  ASSERT_EQ(entries.size(), 5u);
  EXPECT_EQ(entries[0].mode, 0x4180u);
  EXPECT_EQ(entries[1].mode, 0x180u);
  EXPECT_EQ(FileTimeIn(entries[1]), (1000000000u + 11644473600ull) * 10000000u);
  EXPECT_EQ(entries[2].mode, 0x100u);
  EXPECT_EQ(entries[3].mode, 0x1C0u) << "script may be executed";
  EXPECT_EQ(entries[4].mode, 0x1C0u) << "so may a file whose name says so";
  ASSERT_EQ(Extract(), 0) << output_;
  const Tree out = Below("out");
  EXPECT_EQ(out.at("d").mode, 0700u);
  EXPECT_EQ(out.at("d/plain"), FileNode("1", 0644, 1000000000));
  EXPECT_EQ(out.at("d/readonly").mode, 0444u);
  EXPECT_EQ(out.at("d/script").mode, 0755u);
}

TEST_F(LongNameCreation, WritesBackupStreamsPieceByPieceAndPatchesTheSize) {
  for (const std::size_t length : {1u, 65515u, 65516u, 65517u, 200000u}) {
    std::string content(length, 'x');
    for (std::size_t i = 0; i < length; i += 3)
      content[i] = static_cast<char>('a' + i / 7 % 26);
    Write("file", content);
    ASSERT_EQ(CreateLong("file", true), 0) << output_;
    const auto entries = Entries();
    ASSERT_EQ(entries.size(), 1u);
    const std::string backup = ContentOf(entries[0]);
    EXPECT_EQ(entries[0].size_low, length + 20);
    EXPECT_EQ(entries[0].zero_word, 0u);
    EXPECT_EQ(entries[0].size_high, 0u);
    EXPECT_EQ(entries[0].checksum, Checksum(backup));
    EXPECT_EQ(entries[0].blocks.size(), (length + 20 + 65535) / 65536) << "a stream for each piece";
    EXPECT_TRUE(backup == BackupStream(1, content));
    ASSERT_EQ(Extract(), 0) << output_;
    EXPECT_TRUE(Bytes("out/file") == content);
  }
}

TEST_F(LongNameCreation, BackupStreamsCarryExtendedAttributes) {
  const std::string file = Name("file");
  WriteFile(file, "content");
  if (setxattr(file.c_str(), "user.origin", "here", 4, 0) != 0 ||
      setxattr(file.c_str(), "user.empty", "", 0, 0) != 0) {
    GTEST_SKIP() << "the file system keeps no extended attributes";
  }
  ASSERT_EQ(CreateLong("file", true), 0) << output_;
  const std::string backup = ContentOf(Entries()[0]);
  EXPECT_EQ(U32At(backup, 0), 2u) << "extended attributes come first";
  ASSERT_EQ(Extract(), 0) << output_;
  const std::string out = Name("out/file");
  char value[16] = {};
  ASSERT_EQ(getxattr(out.c_str(), "user.origin", value, sizeof value), 4);
  EXPECT_EQ(std::string(value, 4), "here");
  EXPECT_EQ(getxattr(out.c_str(), "user.empty", value, sizeof value), 0);
  EXPECT_EQ(ReadFile(out), "content");
}

// A file that looks like backup streams must not be taken apart when it is read again.
TEST_F(LongNameCreation, FilesThatAreBackupStreamsComeBackWhole) {
  const std::string small = BackupStream(3, "security") + BackupStream(1, "content");
  const std::pair<std::string, bool> cases[] = {{small, true},
                                                {small + "x", false},
                                                {BackupStream(1, std::string(65495, 'x')), true},
                                                {BackupStream(1, std::string(65496, 'x')), true},
                                                {BackupStream(1, std::string(65516, 'x')), true},
                                                {BackupStream(1, std::string(65517, 'x')), false}};
  for (const auto& [content, is_wrapped] : cases) {
    Write("a.qel", BuildArchive({}, kLongNamesHeader));
    Write("file", content);
    ASSERT_EQ(RunWith("-af a.qel file", false, false, false), 0) << output_;
    EXPECT_EQ(Entries()[0].size_low, content.size() + (is_wrapped ? 20 : 0));
    ASSERT_EQ(Extract(), 0) << output_;
    EXPECT_TRUE(Bytes("out/file") == content) << content.size();
  }
}

TEST_F(LongNameCreation, BackupStreamsEndWhereTheSizeFieldDoes) {
  Write("file", "");
  std::filesystem::resize_file(Path("file"), 1ull << 32);
  EXPECT_EQ(CreateLong("file", true), 57) << output_;
  EXPECT_FALSE(Exists("a.qel"));
}

TEST_F(LongNameCreation, AppendingFollowsTheArchivesOwnMode) {
  Make({{"old", FileNode("1")}, {"new", FileNode("2", 0644, 1000000000)}});
  ASSERT_EQ(CreateLong("old", false), 0) << output_;
  ASSERT_EQ(RunWith("-af a.qel new", false, false, false), 0) << output_;
  EXPECT_EQ(FileTimeIn(Entries()[1]), (1000000000u + 11644473600ull) * 10000000u);
  Write("a.qel", BuildArchive({}));
  ASSERT_EQ(CreateLong("new", true, "-af"), 0) << output_;
  const auto entries = Entries();
  EXPECT_EQ(entries[0].time_low, 1000000000u);
  EXPECT_EQ(ContentOf(entries[0]), "2") << "backup streams are for long-name archives";
}

TEST_F(LongNameCreation, TheTwoOptionsNeedEachOther) {
  EXPECT_EQ(RunWith("-cf a.qel x", true, false, false), 49);
  EXPECT_EQ(output_, "MOLDEX: use -acl with -longnames (error 49). \n");
  EXPECT_EQ(RunWith("-cf a.qel x", false, true, false), 51);
  EXPECT_EQ(output_, "MOLDEX: use -longnames with -acl (error 51). \n");
}

}  // namespace
}  // namespace moldex::test

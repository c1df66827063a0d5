// Archives in long-name mode, and data that other writers of the format may produce.
#include "program/program_test.h"

namespace moldex::test {
namespace {

constexpr std::uint64_t kStepsPerSecond = 10'000'000;
constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;

constexpr char kWineHasNoBackup[] = "backup streams: Wine does not support BackupWrite";

class Variants : public ProgramTest {
 protected:
  static void SetTime(QelEntry& entry, std::int64_t seconds_since_1970) {
    const std::uint64_t time =
        static_cast<std::uint64_t>(seconds_since_1970 + kSecondsTo1970) * kStepsPerSecond;
    entry.time_low = static_cast<std::uint32_t>(time);
    entry.time_high = static_cast<std::uint32_t>(time >> 32);
  }

  static std::string U32(std::uint64_t value) {
    std::string bytes(4, '\0');
    SetU32(bytes, 0, static_cast<std::uint32_t>(value));
    return bytes;
  }

  std::string ExtractOne(const QelEntry& entry, std::string_view header = kLongNamesHeader) {
    Archive({entry}, header);
    ExpectExtraction(Extracted(1));
    return Bytes("out/" + entry.name);
  }
};

TEST_F(Variants, LongNameTimesReachBefore1970AndPast2106) {
  const std::pair<std::int64_t, const char*> cases[] = {{-11644473600, "01 Jan 1601 00:00"},
                                                        {-1, "31 Dec 1969 23:59"},
                                                        {0, "01 Jan 1970 00:00"},
                                                        {4294967296, "07 Feb 2106 06:28"},
                                                        {253402300799, "31 Dec 9999 23:59"},
                                                        {253402300800, "01 Jan 10000 00:00"}};
  for (const auto& [seconds, date] : cases) {
    QelEntry entry = FileEntry("f", "content", 0x180);
    SetTime(entry, seconds);
    Archive({entry}, kLongNamesHeader);
    const std::string text(date);
    ExpectRun("-tf a.qel",
              Processing("a.qel") + "-rw-------           7 " + std::string(20 - text.size(), ' ') +
                  text + " f\n",
              0);
    if (seconds < 0 || seconds > 4294967296) continue;  // what every file system holds
    EXPECT_EQ(ExtractOne(entry), "content");
    EXPECT_EQ(Below("out").at("f").mtime, seconds);
  }
}

TEST_F(Variants, LongNameModeIsEachArchivesOwn) {
  Write("long.qel", BuildArchive({}, kLongNamesHeader));
  Archive({FileEntry("f", "1", 0100640)});
  const RunResult result = Run("-xf long.qel,a.qel,long.qel -R out");
  EXPECT_EQ(Below("out"), AsExtracted({{"f", FileNode("1", 0640)}})) << result.out;
}

TEST_F(Variants, AttributesBecomePermissionsInLongNameMode) {
  const std::pair<std::uint32_t, unsigned> cases[] = {
      {0x180, 0644}, {0x100, 0444}, {0x1C0, 0755}, {0x40000 | 0x180, 0644}};
  for (const auto& [mode, permissions] : cases) {
    QelEntry entry = FileEntry("f", "content", mode);
    SetTime(entry, 1000000000);
    ExtractOne(entry);
    EXPECT_EQ(Below("out").at("f").mode, ExtractedMode(Kind::kFile, permissions)) << mode;
    Remove("out");  // a read-only file is not replaced
  }
  if (LeftOutOnWindows("the directory's mode: Windows closes none")) return;
  const std::pair<std::uint32_t, unsigned> directories[] = {
      {0x180, 0700}, {0x100, 0500}, {0x80, 0200}, {0640, 0740}};
  for (const auto& [mode, permissions] : directories) {
    Archive({DirectoryEntry("d", 0x4000 | mode)}, kLongNamesHeader);
    ExpectExtraction(Extracted(1));
    EXPECT_EQ(Below("out").at("d").mode, permissions) << mode;
    Remove("out");
  }
}

TEST_F(Variants, UserDataOfAnyLengthAreReadAndHarmless) {
  for (const std::size_t length : {0u, 1u, 65535u}) {
    QelEntry entry = FileEntry("f", "content");
    entry.user_data = std::string(length, '\x5A');
    Archive({entry});
    // Where there are security descriptors, these are complained of as none.
    const std::string complaint = OnWindows() && length != 0
                                      ? "MOLDEX: Error converting relative to absolute security "
                                        "descriptor:\n\tInvalid security descriptor.\n\n"
                                      : "";
    ExpectExtraction(complaint + Extracted(1));
    EXPECT_EQ(Bytes("out/f"), "content") << length;
  }
}

TEST_F(Variants, BlocksOfOneByteAndSeveralStreamsAreRead) {
  const std::string first(70000, 'x');
  const std::string second = "and a second stream";
  const std::string stream = CompressedStream(first);
  QelEntry entry = FileEntry("f", first + second);
  entry.blocks = {{"DA", stream.substr(0, 8)}};  // a stream's first block holds its header
  for (const char byte : stream.substr(8))
    entry.blocks.push_back({"DA", std::string(1, byte)});
  entry.blocks.push_back({"ED", CompressedStream(second)});
  EXPECT_TRUE(ExtractOne(entry, kArchiveHeader) == first + second);
}

TEST_F(Variants, LzcDataAreRead) {
  QelEntry entry = FileEntry("f", "aaa");
  const std::string codes("a\x02\x02", 3);  // 'a', then 257, each in 9 bits
  entry.blocks = {{"ED", U32(3) + "\x11\x1F\x9D\x8D" + codes}};
  EXPECT_EQ(ExtractOne(entry, kArchiveHeader), "aaa");
}

TEST_F(Variants, BackupStreamsGiveTheFileBack) {
  const std::string content = "the file's own bytes";
  const std::string backup = BackupStream(3, "a security descriptor") + BackupStream(1, content) +
                             BackupStream(4, "a named stream", std::string_view("x\0y\0", 4));
  // Without long-name mode they are nothing but bytes.
  EXPECT_EQ(ExtractOne(FileEntry("g", backup, 0100644), kArchiveHeader), backup);
  // And so is what only looks like them.
  EXPECT_EQ(ExtractOne(FileEntry("h", backup + "x", 0x180)), backup + "x");
  if (OnWindows()) {  // with a named stream "xy", which is none
    Archive({FileEntry("f", backup, 0x180)}, kLongNamesHeader);
    ExpectRun(
        "-xf a.qel",
        Processing("a.qel") +
            Failure("error decompressing f; its backup stream would do more than restore a file",
                    57),
        57);
    return;
  }
  EXPECT_EQ(ExtractOne(FileEntry("f", backup, 0x180)), content);
}

TEST_F(Variants, LongBackupStreamsAreKnownByTheirPieces) {
  const std::string content = Numbers(30000);
  const std::string backup = BackupStream(1, content);
  QelEntry entry = FileEntry("f", backup, 0x180);
  EXPECT_TRUE(ExtractOne(entry) == backup) << "one stream: the bytes of a file";
  if (LeftOutOnWindows(kWineHasNoBackup)) return;
  entry.blocks.clear();
  for (std::size_t at = 0; at < backup.size(); at += 65536) {
    const bool last = at + 65536 >= backup.size();
    entry.blocks.push_back({last ? "ED" : "DA", CompressedStream(backup.substr(at, 65536))});
  }
  EXPECT_TRUE(ExtractOne(entry) == content);
}

TEST_F(Variants, SparseBlocksGoWhereTheyBelong) {
  if (OnWindows()) GTEST_SKIP() << kWineHasNoBackup;
  const std::string backup =
      BackupStream(9, U32(5) + U32(0) + "five") + BackupStream(9, U32(1) + U32(0) + "one");
  EXPECT_EQ(ExtractOne(FileEntry("f", backup, 0x180)), std::string("\0one\0five", 9));
}

}  // namespace
}  // namespace moldex::test

// Extraction and verification: what comes back on disk, which entries, and what ends a run.
#include <filesystem>
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

std::string Extracted(unsigned count) {
  return "MOLDEX: " + std::to_string(count) + " file(s) extracted\n";
}
std::string Tested(unsigned count) {
  return "MOLDEX: " + std::to_string(count) + " file(s) tested\n";
}

class Extract : public ProgramTest {
 protected:
  void Archive(const std::vector<QelEntry>& entries) { Write("a.qel", BuildArchive(entries)); }

  // Both commands end with the message, behind the line that names the archive.
  void ExpectBothFail(const std::string& message, int status) const {
    ExpectBegins("-df a.qel", Processing("a.qel") + message, status);
    ExpectBegins("-xf a.qel -R out", Processing("a.qel") + message, status);
  }
};

TEST_F(Extract, BringsATreeBack) {
  std::string text;
  for (int i = 0; i < 40000; ++i)
    text += std::to_string(i * i) + (i % 7 == 0 ? "\n" : " ");
  Make({{"d/text", FileNode(text, 0640, 1234567890)},
        {"d/empty", FileNode("", 0604, 1)},
        {"d/sub/closed", DirectoryNode(0500)},
        {"d/sub/closed/x", FileNode("x", 0755, 0x7FFFFFFF)},
        {"d/sub/void", DirectoryNode(0711)},
        {"d/late", FileNode("after 2038", 0600, 0xF0000000)},
        {"d/ blank and: colon", FileNode("1")}});
  ExpectRun("-cf a.qel d", "", 0);
  ExpectRun("-df a.qel", Processing("a.qel") + Tested(9), 0);
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(9), 0);
  EXPECT_EQ(Below("out/d"), Below("d"));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(9), 0);  // over what is there
  EXPECT_EQ(Below("out/d"), Below("d"));
}

TEST_F(Extract, FillsADirectoryThatWillBeClosed) {
  Archive({DirectoryEntry("d", 040500), FileEntry("d/x", "1")});
  const Tree expected = {{"d", DirectoryNode(0500)}, {"d/x", FileNode("1")}};
  Make({{"old/d", DirectoryNode(0500)}});
  for (const std::string target : {"new", "old"}) {
    ExpectRun("-xf a.qel -R " + target, Processing("a.qel") + Extracted(2), 0, User::kNobody);
    EXPECT_EQ(Below(target), expected);
  }
}

TEST_F(Extract, ReadsStreamsCutIntoBlocksOfAnySize) {
  std::string text;
  for (int i = 0; i < 3000; ++i)
    text += std::to_string(i);
  for (const std::size_t piece : {8U, 9U, 10U, 64U, 1000U, 65536U}) {
    Archive({FileEntry("x", text, 0100644, piece), FileEntry("y", "behind")});
    ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(2), 0);
    EXPECT_TRUE(Bytes("out/x") == text) << piece;
    EXPECT_EQ(Bytes("out/y"), "behind");
  }
}

TEST_F(Extract, ReadsSeveralStreamsInOneEntry) {
  QelEntry entry = FileEntry("x", "first", 0100644, 10);
  const QelEntry second = FileEntry("x", "second", 0100644, 9);
  entry.blocks.back().type = "DA";
  entry.blocks.insert(entry.blocks.end(), second.blocks.begin(), second.blocks.end());
  entry.size_low = 11;
  entry.checksum = Checksum("firstsecond");
  Archive({entry});
  ExpectRun("-xf a.qel", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes("x"), "firstsecond");
}

TEST_F(Extract, RestoresTimeAndPermissionsButNoSetuidBits) {
  for (const unsigned mode : {0644U, 0400U, 0777U, 04755U, 02755U, 01777U, 07777U}) {
    QelEntry file = FileEntry("x", "1", 0100000 | mode);
    file.time_low = 0x80000001;
    Archive({file, DirectoryEntry("d", 040000 | mode)});
    ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(2), 0);
    EXPECT_EQ(Below("out"), (Tree{{"d", DirectoryNode(mode & 0777)},
                                  {"x", FileNode("1", mode & 0777, 0x80000001)}}));
    RemoveTree(Path("out"));
  }
}

TEST_F(Extract, LeavesDirectoryPermissionsAloneWithH) {
  Make({{"out/old", DirectoryNode(0751)}});
  Archive({DirectoryEntry("old", 040700), FileEntry("old/x", "1"), DirectoryEntry("new", 040711)});
  ExpectRun("-xf a.qel -R out -h", Processing("a.qel") + Extracted(3), 0);
  EXPECT_EQ(Below("out").at("old").mode, 0751U);
  EXPECT_TRUE(std::filesystem::is_directory(Path("out/new")));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(3), 0);
  EXPECT_EQ(Below("out").at("old").mode, 0700U);
  EXPECT_EQ(Below("out").at("new").mode, 0711U);
}

TEST_F(Extract, CreatesMissingParents) {
  Archive({FileEntry("p/q/r", "1"), DirectoryEntry("s/t/u")});
  ExpectRun("-xf a.qel -R deep/er/", Processing("a.qel") + Extracted(2), 0);
  EXPECT_EQ(Bytes("deep/er/p/q/r"), "1");
  EXPECT_TRUE(std::filesystem::is_directory(Path("deep/er/s/t/u")));
}

TEST_F(Extract, EndsWhenAParentIsAFile) {
  Make({{"out/p", FileNode("keep")}});
  Archive({FileEntry("p/q/r", "1"), FileEntry("z", "2")});
  ExpectBegins("-xf a.qel -R out", Processing("a.qel") + "MOLDEX: can not create directory ", 3);
  EXPECT_EQ(Bytes("out/p"), "keep");
  EXPECT_FALSE(Exists("out/z"));
}

TEST_F(Extract, ReplacesFilesButNotReadOnlyOnes) {
  Make({{"x", FileNode("a much longer old content")}});
  Archive({FileEntry("x", "new")});
  ExpectRun("-xf a.qel", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes("x"), "new");
  Make({{"x", FileNode("old", 0444)}});
  ExpectRun(
      "-xf a.qel",
      Processing("a.qel") + "MOLDEX: could not open for writing x (error 28). Permission denied\n",
      28, User::kNobody);
  EXPECT_EQ(Bytes("x"), "old");
}

TEST_F(Extract, RestoresAShortcutAsAFile) {
  QelEntry shortcut = FileEntry("s.lnk", "bytes", 0x11A4);
  shortcut.type = "SC";
  Archive({shortcut});
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Below("out"), (Tree{{"s.lnk", FileNode("bytes")}}));
}

TEST_F(Extract, PrintsOneLinePerEntryWithV) {
  Archive({DirectoryEntry("d"), FileEntry("d/x", "1")});
  ExpectRun("-xvf a.qel -R out", Processing("a.qel") + "x d\nx d/x\n" + Extracted(2), 0);
  ExpectRun("-dvf a.qel", Processing("a.qel") + "d d\nd d/x\n" + Tested(2), 0);
}

TEST_F(Extract, VerifyTouchesNothing) {
  Archive({DirectoryEntry("d"), FileEntry("d/x", "1")});
  const Tree before = ReadTree(folder_.Path());
  ExpectRun("-df a.qel", Processing("a.qel") + Tested(2), 0);
  EXPECT_EQ(ReadTree(folder_.Path()), before);
}

TEST_F(Extract, SumsOverTheArchivesOfAList) {
  Archive({FileEntry("a1", "1"), FileEntry("a2", ""), DirectoryEntry("a3")});
  Write("b.qel", BuildArchive({FileEntry("b1", "1"), FileEntry("b2", "2"), FileEntry("b3", "3"),
                               FileEntry("b4", "4")}));
  const RunResult result = Run(Words{"-xf", "a.qel no.qel b.qel", "-R", "out"});
  EXPECT_EQ(result.out, Processing("a.qel") + Extracted(3) +
                            "MOLDEX: error opening no.qel (error 6). No such file or directory\n" +
                            Extracted(3) + Processing("b.qel") + Extracted(7));
  EXPECT_EQ(result.status, 6);
  EXPECT_EQ(Below("out").size(), 7U);
}

TEST_F(Extract, ComplainsWhenFewerEntriesThanNamesWereFound) {
  Archive({DirectoryEntry("d"), FileEntry("d/x", "1"), FileEntry("z", "2")});
  const struct {
    const char* operands;
    unsigned count;
  } cases[] = {{"no", 0}, {"z no", 1}, {"d/", 0}, {"Z", 0}, {"d/x no", 1}};
  for (const auto& [operands, count] : cases) {
    ExpectRun(std::string("-xf a.qel -R out ") + operands,
              Processing("a.qel") + "MOLDEX: not all files could be extracted\n" + Extracted(count),
              40);
    ExpectRun(std::string("-df a.qel ") + operands,
              Processing("a.qel") + "MOLDEX: not all files could be tested\n" + Tested(count), 40);
  }
  ExpectRun("-df a.qel d no", Processing("a.qel") + Tested(2), 0);  // two names, two entries
}

TEST_F(Extract, SkipsTheDataOfEntriesThatWereNotChosen) {
  QelEntry broken = FileEntry("b", "wrong checksum");
  broken.checksum ^= 1;
  Archive({broken, FileEntry("c", "1"), DirectoryEntry("d"), FileEntry("d/x", "2")});
  ExpectRun("-xf a.qel -R out c d", Processing("a.qel") + Extracted(3), 0);
  EXPECT_EQ(Below("out"),
            (Tree{{"c", FileNode("1")}, {"d", DirectoryNode()}, {"d/x", FileNode("2")}}));
}

TEST_F(Extract, LowersAndFlattensNamesBeforeChoosing) {
  Archive({DirectoryEntry("Dir"), FileEntry("Dir/READ.ME", "1"), FileEntry("Dir/sub/X", "2")});
  ExpectRun("-xf a.qel -R low -lower", Processing("a.qel") + Extracted(3), 0);
  EXPECT_TRUE(Exists("low/dir/read.me") && Exists("low/dir/sub/x"));
  ExpectRun("-xf a.qel -R flat -flat", Processing("a.qel") + Extracted(3), 0);
  EXPECT_EQ(Below("flat"),
            (Tree{{"Dir", DirectoryNode()}, {"READ.ME", FileNode("1")}, {"X", FileNode("2")}}));
  ExpectRun("-xvf a.qel -R both -flat -lower read.me",
            Processing("a.qel") + "x read.me\n" + Extracted(1), 0);
  ExpectBegins("-xf a.qel -R none -lower Dir/READ.ME",
               Processing("a.qel") + "MOLDEX: not all files", 40);
}

TEST_F(Extract, EndsAtAWrongChecksum) {
  std::string archive =
      BuildArchive({FileEntry("a", "1"), FileEntry("b", "22"), FileEntry("c", "3")});
  SetU32(archive, ParseArchive(archive).at(1).checksum_offset, 0);
  Write("a.qel", archive);
  ExpectBothFail("MOLDEX: checksum error in ", 12);
  EXPECT_TRUE(Exists("out/a"));
  EXPECT_FALSE(Exists("out/c"));
}

TEST_F(Extract, ComparesTheChecksumWithTheRestoredBytes) {
  // A changed literal decodes as well as the right one; only the checksum can tell.
  std::string archive = BuildArchive({FileEntry("x", "abcdefgh")});
  const std::size_t data = ParseArchive(archive).at(0).blocks.at(0).offset + kBlockHeaderBytes + 8;
  FlipByte(archive, data + 2, 0x20);
  Write("a.qel", archive);
  ExpectBothFail("MOLDEX: checksum error in ", 12);
  FixChecksum(archive, 0);
  Write("a.qel", archive);
  ExpectRun("-df a.qel", Processing("a.qel") + Tested(1), 0);
}

TEST_F(Extract, ReportsWhatTheDecompressorRefuses) {
  const struct {
    std::size_t at;  // in the stream
    unsigned value;
    const char* code;
  } cases[] = {
      {5, 0x1E, "-50"}, {6, 0, "-50"}, {4, 0x13, "-21"}, {8, 0x01, "-22"}, {8, 0x07, "-22"}};
  for (const auto& [at, value, code] : cases) {
    QelEntry entry = FileEntry("x", "some text");
    entry.blocks[0].payload[at] = static_cast<char>(value);
    Archive({entry});
    ExpectRun("-df a.qel",
              Processing("a.qel") + "MOLDEX: error decompressing x; error code is " + code + "\n",
              100);
    ExpectBegins("-xf a.qel", Processing("a.qel") + "MOLDEX: error decompressing ", 100);
  }
}

TEST_F(Extract, ReportsAChainThatEndsBeforeItsStream) {
  QelEntry entry = FileEntry("x", std::string(1000, 'x') + "some more text");
  entry.blocks[0].payload.resize(12);
  Archive({entry});
  ExpectRun("-df a.qel", Processing("a.qel") + "MOLDEX: error decompressing x; error code is 3\n",
            100);
}

TEST_F(Extract, RefusesLengthsThatBreakTheLimits) {
  const std::string good = BuildArchive({FileEntry("x", "some text"), DirectoryEntry("d")});
  const QelEntry entry = ParseArchive(good).at(0);
  const std::size_t length_at = entry.blocks.at(0).offset + kPayloadLengthAt;
  const struct {
    std::size_t at;
    std::uint32_t value;
  } cases[] = {{length_at, 0},
               {length_at, 65537},
               {length_at, 0x80000000},
               {length_at, 0xFFFFFFFF},
               {entry.offset + kSizeLowAt, 8},
               {entry.offset + kSizeLowAt, 10},
               {entry.offset + kSizeHighAt, 1},
               {entry.offset + kSizeLowAt, 0}};
  for (const auto& [at, value] : cases) {
    std::string archive = good;
    SetU32(archive, at, value);
    Write("a.qel", archive);
    ExpectBegins("-df a.qel", Processing("a.qel") + "MOLDEX: ", 57);
    ExpectBegins("-xf a.qel -R out", Processing("a.qel") + "MOLDEX: ", 57);
  }
}

TEST_F(Extract, RefusesUnknownBlocksAndEntries) {
  QelEntry entry = FileEntry("x", "some text");
  entry.blocks[0].type = "XX";
  Archive({entry});
  ExpectBothFail("MOLDEX: error in GetEntryData(); unknown block type (error 100). ", 100);
  QelEntry strange = DirectoryEntry("s");
  for (const char* type : {"XX", "SV", "rg"}) {
    strange.type = type;
    Archive({DirectoryEntry("d"), strange});
    ExpectBothFail("MOLDEX: unknown entry type encountered (error 100). ", 100);
    ExpectBegins("-tf a.qel", Processing("a.qel"), 100);
  }
  strange.type = "SV";  // as the first entry it passes the test of the archive, not the building
  Archive({strange});
  ExpectBothFail("MOLDEX: unknown entry type encountered (error 100). ", 100);
}

TEST_F(Extract, RefusesASkipOver2GiB) {
  std::string archive = BuildArchive({FileEntry("x", "some text"), DirectoryEntry("d")});
  SetU32(archive, ParseArchive(archive).at(0).blocks.at(0).offset + kPayloadLengthAt, 0x80000000);
  Write("a.qel", archive);
  const RunResult result = Run("-tf a.qel");
  EXPECT_NE(result.out.find("MOLDEX: error in second MoveFlPtr() (error 100). "),
            std::string::npos);
  EXPECT_EQ(result.status, 100);
}

}  // namespace
}  // namespace moldex::test

// Extraction and verification: what comes back on disk, which entries, and what ends a run.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "program/program_test.h"

namespace moldex::test {
namespace {

using Extract = ProgramTest;

TEST_F(Extract, BringsATreeBack) {
  const std::string text = Numbers(40000);
  Make({{"d/text", FileNode(text, 0640, 1234567890)},
        {"d/empty", FileNode("", 0604, 1)},
        {"d/sub/closed", DirectoryNode(0500)},
        {"d/sub/closed/x", FileNode("x", 0755, 0x7FFFFFFF)},
        {"d/sub/void", DirectoryNode(0711)},
        {"d/late", FileNode("after 2038", 0600, 0xF0000000)},
        {OnWindows() ? "d/ blank and+ plus" : "d/ blank and: colon", FileNode("1")}});
  ExpectRun("-cf a.qel d", "", 0);
  ExpectRun("-df a.qel", Processing("a.qel") + Tested(9), 0);
  ExpectExtraction(Extracted(9));
  EXPECT_EQ(Below("out/d"), AsExtracted(Below("d")));
  ExpectExtraction(Extracted(9));  // over what is there
  EXPECT_EQ(Below("out/d"), AsExtracted(Below("d")));
}

TEST_F(Extract, LeavesHolesWhereAFileHoldsZeros) {
  constexpr std::size_t kZeros = 3'000'000;
  Archive({FileEntry("hole", std::string(kZeros, '\0')),
           FileEntry("data", std::string(kZeros, '\0') + "x" + std::string(kZeros, '\0'))});
  for (const std::size_t left : {0U, 1U}) {  // into new files, and over those that hold data
    if (left != 0) Make({{"out/hole", FileNode(Numbers(100'000))}});
    ExpectExtraction(Extracted(2));
    EXPECT_TRUE(Bytes("out/hole") == std::string(kZeros, '\0'));
    EXPECT_EQ(Bytes("out/data").size(), 2 * kZeros + 1);
    EXPECT_EQ(Bytes("out/data").find_first_not_of('\0'), kZeros);
    if (LeftOutOnWindows("the space that files take: Wine does not tell")) continue;
    for (const char* name : {"out/hole", "out/data"}) {
      struct stat status {};
      EXPECT_EQ(stat(Path(name).c_str(), &status), 0);
      EXPECT_LE(status.st_blocks, 64) << name;
    }
  }
}

TEST_F(Extract, FillsDirectoriesThatWillBeClosedAndClosesTheInnerOnesFirst) {
  // Nobody but root enters a directory of mode 0644.
  Archive({DirectoryEntry("d", 040500), FileEntry("d/x", "1"), DirectoryEntry("c/", 040644),
           DirectoryEntry("./c/e/", 040644), FileEntry("c/e/f", "2"),
           DirectoryEntry("c/g", 040600)});
  Make({{"old/d", DirectoryNode(0500)}});
  for (const std::string target : {"new", "old"}) {
    ExpectRun("-xf a.qel -R " + target, Processing("a.qel") + Extracted(6), 0, User::kNobody);
    EXPECT_EQ(Bytes(target + "/d/x"), "1");
    if (LeftOutOnWindows("the directory's mode: Windows closes none")) continue;
    EXPECT_EQ(Below(target).at("d").mode, 0500U);
  }
}

TEST_F(Extract, RestoresTimeAndPermissionsButNoSetuidBits) {
  for (const unsigned mode : {0644U, 0400U, 0777U, 04755U, 02755U, 01777U, 07777U}) {
    QelEntry file = FileEntry("x", "1", 0100000 | mode);
    file.time_low = 0x80000001;
    Archive({file, DirectoryEntry("d", 040000 | mode)});
    ExpectExtraction(Extracted(2));
    EXPECT_EQ(Below("out"), AsExtracted({{"d", DirectoryNode(mode & 0777)},
                                         {"x", FileNode("1", mode & 0777, 0x80000001)}}));
    RemoveTree(Path("out"));
  }
}

TEST_F(Extract, LeavesDirectoryPermissionsAloneWithH) {
  Make({{"out/old", DirectoryNode(02751)}});
  Archive({DirectoryEntry("old", 040700), FileEntry("old/x", "1"), DirectoryEntry("new", 040711)});
  ExpectRun("-xf a.qel -R out -h", Processing("a.qel") + Extracted(3), 0);
  EXPECT_EQ(Below("out").at("old").mode, 02751U);
  EXPECT_TRUE(std::filesystem::is_directory(Path("out/new")));
  ExpectExtraction(Extracted(3));
  EXPECT_EQ(Below("out").at("old").mode, OnWindows() ? 02751U : 02700U);  // was writable before
  EXPECT_EQ(Below("out").at("new").mode, ExtractedMode(Kind::kDirectory, 0711U));
}

TEST_F(Extract, ReplacesFilesButNotReadOnlyOnes) {
  Make({{"x", FileNode("a much longer old content")}});
  Archive({FileEntry("x", "new")});
  ExpectRun("-xf a.qel", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes("x"), "new");
  Make({{"x", FileNode("old", 0444)}});
  ExpectRun("-xf a.qel",
            Processing("a.qel") +
                Failure("could not open for writing x", 28, SystemText(Complaint::kDenied)),
            28, OnWindows() ? User::kNobody : User::kSame);  // Wine's root replaces them
  EXPECT_EQ(Bytes("x"), "old");
}

TEST_F(Extract, ReplacesAFileOfAnotherUserByOneThatItsOwnerHasNotOpen) {
  if (OnWindows() || geteuid() != 0) GTEST_SKIP() << "needs POSIX, and root for the owner";
  Make({{"x", FileNode("old")}});
  ASSERT_EQ(chown(Name("x").c_str(), 1, 1), 0);
  std::ifstream owners(Name("x"));
  Archive({FileEntry("x", "new")});
  ExpectRun("-xf a.qel", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(owners), {}), "old");
  EXPECT_EQ(Bytes("x"), "new");
}

TEST_F(Extract, ClosesDirectoriesToOthersBeforeTheyAreFilled) {
  if (OnWindows()) GTEST_SKIP() << "directories take their rights from the one above them";
  Make({{"out/was", DirectoryNode(0055)}});
  QelEntry damaged = FileEntry("z", "1");
  damaged.checksum ^= 1;
  Archive({DirectoryEntry("new", 040700), FileEntry("new/f", "1"), FileEntry("late/f", "1"),
           DirectoryEntry("late", 040700), DirectoryEntry("was", 040777), FileEntry("p/f", "1"),
           damaged});
  EXPECT_EQ(Run("-xf a.qel -R out").status, 12);
  for (const auto& [name, mode] : {std::pair("new", 0700U), {"late", 0700U}, {"was", 0755U}})
    EXPECT_EQ(Below("out").at(name).mode, mode) << name;
}

TEST_F(Extract, SumsOverTheArchivesOfAList) {
  Archive({FileEntry("a1", "1"), FileEntry("a2", ""), DirectoryEntry("a3")});
  Write("b.qel", BuildArchive({FileEntry("b1", "1"), FileEntry("b2", "2"), FileEntry("b3", "3"),
                               FileEntry("b4", "4")}));
  const RunResult result = Run(Words{"-xf", "a.qel no.qel b.qel", "-R", "out"});
  EXPECT_EQ(result.out, Processing("a.qel") + Extracted(3) + OpenError("no.qel") + Extracted(3) +
                            Processing("b.qel") + Extracted(7));
  EXPECT_EQ(result.status, 6);
  EXPECT_EQ(Below("out").size(), 7U);
}

TEST_F(Extract, ComplainsWhenFewerEntriesThanNamesWereFound) {
  Archive({DirectoryEntry("d"), FileEntry("d/x", "1"), FileEntry("z", "2")});
  const std::pair<const char*, unsigned> cases[] = {
      {"no", 0}, {"z no", 1}, {"d/", 0}, {"Z", 0}, {"d/x no", 1}};
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
  EXPECT_EQ(Listing("out"), "c=1 d/x=2");
}

TEST_F(Extract, LowersAndFlattensNamesBeforeChoosing) {
  Archive({DirectoryEntry("Dir"), FileEntry("Dir/READ.ME", "1"), FileEntry("Dir/sub/X", "2"),
           FileEntry("Dir/a:z", "3")});
  ExpectRun("-xf a.qel -R low -lower", Processing("a.qel") + Extracted(4), 0);
  EXPECT_TRUE(Exists("low/dir/read.me") && Exists("low/dir/sub/x"));
  // A letter and a colon after a directory do not become a drive, which -R would not precede.
  ExpectRun("-xf a.qel -R flat -flat", Processing("a.qel") + Extracted(4), 0);
  EXPECT_EQ(Listing("flat"), OnWindows() ? "Dir/ READ.ME=1 X=2 z=3" : "Dir/ READ.ME=1 X=2 a:z=3");
  ExpectRun("-xf a.qel -R flat -flat a:z", Processing("a.qel") + Extracted(1), 0);
  ExpectRun("-xvf a.qel -R both -flat -lower read.me",
            Processing("a.qel") + "x read.me\n" + Extracted(1), 0);
  ExpectBegins("-xf a.qel -R none -lower Dir/READ.ME",
               Processing("a.qel") + "MOLDEX: not all files", 40);
}

TEST_F(Extract, NeverWritesOverFilesThatTheRunIsUsing) {
  const auto refused = [](const std::string& name) {
    return Failure("entry would replace a file that this run is using: " + name, 60);
  };
  const std::string archive =
      BuildArchive({FileEntry("a.qel", "gotcha"), FileEntry("./b.qel", "gotcha"),
                    FileEntry("moldex_output", "1"), FileEntry("moldex.log", "1"),
                    FileEntry("list", "1"), FileEntry("f", "1")});
  Make({{"a.qel", FileNode(archive)},
        {"b.qel", FileNode(BuildArchive({FileEntry("mine", "1")}))},
        {"list", FileNode("list\n")},
        {"moldex.log", FileNode("old")}});
  for (const char* archives : {"a.qel,b.qel", "b.qel,a.qel"}) {
    EXPECT_EQ(Run(Words{"-e", "-xf", archives}).status, 60);
    EXPECT_NE(Text("moldex_output")
                  .find(refused("a.qel") + refused("./b.qel") + refused("moldex_output") +
                        refused("moldex.log") + "MOLDEX: "),
              std::string::npos);
    EXPECT_TRUE(Bytes("a.qel") == archive);
    EXPECT_EQ(Bytes("mine") + Bytes("moldex.log"), "1old");
  }
  Write("list", "list\n");
  ExpectBegins("-xf a.qel -A list", Processing("a.qel") + refused("list"), 40);
  // A name may lead through a directory that is made for it. Windows looks at no such directory.
  const std::string around =
      BuildArchive({FileEntry("new/../a.qel", "gotcha"), LinkEntry("too/../a.qel", "x")});
  Write("a.qel", around);
  if (!OnWindows()) {
    ExpectRun(
        "-xf a.qel -P",
        Processing("a.qel") + refused("new/../a.qel") + refused("too/../a.qel") + Extracted(0), 60);
    EXPECT_TRUE(Bytes("a.qel") == around);
  }
  // Nor does it lead the name of an archive elsewhere, or come to one through its own links.
  if (LeftOutOnWindows("links: Wine makes none")) return;
  Make({{"to", SymlinkNode(".")}});
  Write("c.qel", BuildArchive({DirectoryEntry("d"), LinkEntry("to", "d"), LinkEntry("l", "."),
                               LinkEntry("to/b.qel", "x"), LinkEntry("l/b.qel", "x")}));
  ExpectBegins(
      "-xf c.qel,to/b.qel",
      Processing("c.qel") + refused("to") + refused("to/b.qel") + refused("l/b.qel") + Extracted(2),
      60);
}

TEST_F(Extract, LeavesTheRootAloneAndMakesNoDirectoryOfAFile) {
  Archive({DirectoryEntry("/"), DirectoryEntry("//")});
  const RunResult root = Run("-xf a.qel -R out", User::kNobody);
  EXPECT_EQ(root.status, 55) << root.out;
  EXPECT_NE(root.out.find(Extracted(0)), std::string::npos) << root.out;
  Make({{"out/d", FileNode("keep")}});
  Archive({DirectoryEntry("d")});
  ExpectExtraction(
      Failure("can not create directory out/d", 3, SystemText(Complaint::kNotADirectory)), 3);
  Archive({FileEntry("d/q/r", "1"), FileEntry("z", "2")});
  ExpectBegins("-xf a.qel -R out", Processing("a.qel") + "MOLDEX: can not create directory ", 3);
  EXPECT_EQ(Listing("out"), "d=keep");
}

}  // namespace
}  // namespace moldex::test

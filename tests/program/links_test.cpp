// Symbolic links and shortcuts: followed, stored, made again, and refused where they lead out.
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

constexpr char kWineMakesNone[] = "Wine makes no symbolic links, and says that it does";
constexpr char kWineFollows[] = "Wine shows symbolic links as what they lead to";

class Links : public ProgramTest {
 protected:
  static QelEntry Link(std::string name, std::string target) {
    QelEntry entry;
    entry.type = "LK";
    entry.mode = 0x1000 | 0777;
    entry.name = std::move(name);
    entry.user_data = std::move(target);
    return entry;
  }
};

TEST_F(Links, AreStoredWithTheirTargetsWhenTheyAreKept) {
  if (OnWindows()) GTEST_SKIP() << kWineFollows;
  Make({{"d", DirectoryNode()},
        {"d/file", FileNode("content")},
        {"d/link", SymlinkNode("file")},
        {"d/nowhere", SymlinkNode("nöwhere")},
        {"d/up", SymlinkNode("..")},
        {"d/short.lnk", FileNode("shortcut bytes", 0640)}});
  ExpectRun("-crf a.qel d", "", 0);
  const auto entries = Entries("a.qel");
  ASSERT_EQ(NamesOf(entries), (std::vector<std::string>{"d", "d/file", "d/link", "d/nowhere",
                                                        "d/short.lnk", "d/up"}));
  QelEntry link = Link("d/link", "file");
  link.time_low = entries[2].time_low;
  EXPECT_EQ(EncodeEntry(entries[2]), EncodeEntry(link));
  EXPECT_EQ(entries[3].user_data, "nöwhere");
  EXPECT_EQ(entries[4].type, "SC");
  EXPECT_EQ(entries[4].mode, 0x1000u | 0640u);
  EXPECT_EQ(ContentOf(entries[4]), "shortcut bytes");
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(6), 0);
  EXPECT_EQ(Below("out/d"), Below("d"));
}

TEST_F(Links, ThatLeadOutOfTheTargetAreRefusedUnlessAllowed) {
  const struct {
    const char* name;
    const char* target;
    bool leaves;
  } cases[] = {
      {"l", "/etc/passwd", true},    {"l", "..", true},        {"l", "a/../..", true},
      {"d/l", "../..", true},        {"d/l", "..", false},     {"d/e/l", "../../x", false},
      {"l", "a/../c", true},         {"l", ".../x", false},    {"./d/./l", "../../x", true},
      {"l", "x/../../inside", true}, {"d//l", "../../x", true}};
  for (const auto& [name, target, leaves] : cases) {
    Write("a.qel", BuildArchive({Link(name, target), FileEntry("after", "1")}));
    const std::string refusal =
        "MOLDEX: name leaves the target directory (use -P to allow it): " + std::string(name) +
        " (error 55). \n";
    const std::string count = leaves ? "1" : "2";
    ExpectRun(
        "-xf a.qel -R out",
        Processing("a.qel") + (leaves ? refusal : "") + "MOLDEX: " + count + " file(s) extracted\n",
        leaves ? 55 : 0);
    EXPECT_EQ(Bytes("out/after"), "1");
    if (LeftOutOnWindows("the link itself: Wine makes none, and says that it does")) continue;
    EXPECT_EQ(std::filesystem::is_symlink(Path(std::string("out/") + name)), !leaves) << target;
    ExpectRun("-x -P -f a.qel -R all", Processing("a.qel") + Extracted(2), 0);
    EXPECT_EQ(std::filesystem::read_symlink(Path(std::string("all/") + name)), target);
    RemoveTree(Path("out"));
    RemoveTree(Path("all"));
  }
}

TEST_F(Links, AreMadeAfterAllOtherEntries) {
  // Written in the archive's order, the file would go through the link.
  Make({{"out", DirectoryNode()}, {"out/target", DirectoryNode()}});
  Write("a.qel", BuildArchive({Link("d", "target"), FileEntry("d/file", "content")}));
  const RunResult result = Run("-xf a.qel -R out");
  EXPECT_TRUE(Below("out/target").empty()) << result.out;
  EXPECT_EQ(Bytes("out/d/file"), "content");
  if (LeftOutOnWindows("the link in the directory's place: Wine says that it made it")) return;
  EXPECT_EQ(result.status, 28) << result.out;  // a directory stands where the link should go
}

TEST_F(Links, BehindLinksOfAnotherArchiveLeadNowhereElse) {
  if (OnWindows()) GTEST_SKIP() << kWineMakesNone;
  // Every ".." alone is matched by a component in front of it, but that component is a link to ".".
  Write("1.qel", BuildArchive({Link("s", "."), Link("up", "s/.."), Link("top", "up/..")}));
  Write("2.qel", BuildArchive({FileEntry("top/stolen", "1"), FileEntry("s/inside", "2")}));
  Make({{"in", DirectoryNode()}, {"in/out", DirectoryNode()}});
  Run("-xf 1.qel,2.qel -R in/out");
  EXPECT_EQ(Bytes("in/out/inside"), "2");
  EXPECT_EQ(Bytes("in/out/top/stolen"), "1");
  EXPECT_FALSE(Exists("stolen") || Exists("in/stolen"));
}

TEST_F(Links, AreNotMadeThroughOtherLinks) {
  if (OnWindows()) GTEST_SKIP() << kWineMakesNone;
  // Each target alone stays inside; the second link, made through the first, would not.
  Write("a.qel", BuildArchive({DirectoryEntry("a"), DirectoryEntry("a/b"), Link("a/b/c", "../.."),
                               Link("a/b/c/l", "../../x")}));
  ExpectRun("-xf a.qel -R out",
            Processing("a.qel") +
                "MOLDEX: name leaves the target directory (use -P to allow it): a/b/c/l (error "
                "55). \nMOLDEX: 3 file(s) extracted\n",
            55);
  EXPECT_FALSE(std::filesystem::is_symlink(Path("out/l")));
}

TEST_F(Links, ThatCannotBeMadeAreReportedAndNothingElseIsLeftUndone) {
  if (OnWindows()) GTEST_SKIP() << kWineMakesNone;
  Write("a.qel",
        BuildArchive({DirectoryEntry("d", 040700), Link("d/bad", "\xFF"), FileEntry("f", "1"),
                      DirectoryEntry("d/taken", 040750), Link("d/taken", "../f"), Link("z", "f")}));
  ExpectRun("-xf a.qel -R out",
            Processing("a.qel") +
                "MOLDEX: link target can not be converted from UTF8: d/bad (error 47). \n"
                "MOLDEX: could not open for writing out/d/taken (error 28). File exists\n" +
                Extracted(4),
            28);
  EXPECT_EQ(Below("out"), (Tree{{"d", DirectoryNode(0700)},
                                {"d/taken", DirectoryNode(0750)},
                                {"f", FileNode("1")},
                                {"z", SymlinkNode("f")}}));
}

TEST_F(Links, WithoutTargetAreReportedAndLeftOut) {
  Write("a.qel", BuildArchive({Link("l", ""), FileEntry("f", "1")}));
  ExpectRun("-xf a.qel -R out",
            Processing("a.qel") +
                "MOLDEX: no link target for l (error 45). \nMOLDEX: 1 file(s) extracted\n",
            45);
  ExpectRun("-df a.qel", Processing("a.qel") + Tested(2), 0);
}

TEST_F(Links, OnDiskAreReplacedByFilesAndLinks) {
  if (OnWindows()) GTEST_SKIP() << kWineFollows;
  Make({{"out", DirectoryNode()},
        {"outside", FileNode("must stay")},
        {"out/f", SymlinkNode("../outside")},
        {"out/l", SymlinkNode("../outside")}});
  Write("a.qel", BuildArchive({FileEntry("f", "new"), Link("l", "f")}));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(2), 0);
  EXPECT_EQ(Bytes("outside"), "must stay");
  EXPECT_EQ(Below("out").at("f").content, "new");
  EXPECT_EQ(Below("out").at("l").content, "f");
}

TEST_F(Links, OfAFileKeepTheirBytesWhenTheFileIsReplaced) {
  Make({{"other", FileNode("must stay")}, {"out", DirectoryNode()}});
  std::filesystem::create_hard_link(Path("other"), Path("out/f"));
  Write("a.qel", BuildArchive({FileEntry("f", "new")}));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes("other") + Bytes("out/f"), "must staynew");
}

}  // namespace
}  // namespace moldex::test

// Creating archives, appending to them and merging them: what is stored, byte by byte, what is left
// out, and what stays as it was.
#include "program/program_test.h"
#include "support/noise.h"

namespace moldex::test {
namespace {

using Create = ProgramTest;
using Append = ProgramTest;
using Merge = ProgramTest;

TEST_F(Create, StoresEveryFieldOfAFile) {
  Make({{"x", FileNode("123456789", 0640, 1700000000)}});
  ExpectCreation("x", {"x"});
  QelEntry expected = FileEntry("x", "123456789", StoredMode(0100640));
  expected.time_low = 1700000000;
  expected.checksum = 0x2DFD2D88;  // starts at zero and is not inverted
  const QelEntry entry = Entries("a.qel").at(0);
  ASSERT_EQ(entry.blocks.size(), 1U);
  EXPECT_EQ(entry.blocks[0].payload.substr(0, 8), std::string("\x9\0\0\0\x12\x1F\x9D\x02", 8));
  EXPECT_EQ(ContentOf(entry), "123456789");
  expected.blocks = entry.blocks;
  EXPECT_EQ(Bytes("a.qel"), BuildArchive({expected}));
}

TEST_F(Create, StoresContentsOfEveryLength) {
  Tree tree;
  for (const std::size_t length : {0U, 1U, 2U, 65535U, 65536U, 65537U, 131072U, 400000U}) {
    tree["d/r" + std::to_string(length)] = FileNode(Noise(length, 12345));
    tree["d/z" + std::to_string(length)] = FileNode(std::string(length, 'z'));
  }
  Make(tree);
  ExpectRun("-cf a.qel d", "", 0);
  const auto entries = Entries("a.qel");
  ASSERT_EQ(entries.size(), tree.size() + 1);
  for (std::size_t i = 1; i < entries.size(); ++i) {
    const std::string content = Bytes(entries[i].name);
    EXPECT_EQ(entries[i].size_low, content.size()) << entries[i].name;
    EXPECT_TRUE(ContentOf(entries[i]) == content) << entries[i].name;
    EXPECT_EQ(entries[i].checksum, Checksum(content)) << entries[i].name;
  }
}

TEST_F(Create, WalksADirectoryInByteOrderItsOwnEntryFirst) {
  for (const char* name : {"b", "B", "a/z", "a.x", ".hidden", "\xC3\xA9", "~"})
    Make({{std::string("d/") + name, FileNode("")}});
  Make({{"d/a", DirectoryNode(0750)}});
  ExpectCreation("d",
                 {"d", "d/.hidden", "d/B", "d/a", "d/a/z", "d/a.x", "d/b", "d/~", "d/\xC3\xA9"});
  const QelEntry folder = Entries("a.qel").at(3);
  EXPECT_EQ(folder.type, "DR");
  EXPECT_EQ(folder.mode, StoredMode(040750U));
  EXPECT_EQ(folder.size_low, 0U);
  ExpectRun("-cf b.qel d", "", 0);
  EXPECT_TRUE(Bytes("a.qel") == Bytes("b.qel"));
}

TEST_F(Create, StoresWhatTheNamesLeadToAndNeverItself) {
  Make({{"d/e/f", FileNode("1")}, {"x", FileNode("2")}, {".p", FileNode("3")}});
  std::filesystem::create_hard_link(Path("x"), Path("l"));
  ExpectCreation(".", {"./.p", "./d", "./d/e", "./d/e/f", "./l", "./x"});
  ExpectCreation("-C d e", {"e", "e/f"});  // the archive stays where the program was started
  ExpectCreation("-C d x", {}, Inaccessible("x"), 44);
  Write("a.qel", "former");
  ExpectRun("-cf a.qel x -C no",
            Failure("can not change to dir no", 102, SystemText(Complaint::kNoFile)), 102);
  EXPECT_EQ(Bytes("a.qel"), "former") << "lost to a mistyped directory";
  ExpectCreation("no x no2", {}, Inaccessible("no") + Inaccessible("no2"), 44);
  ExpectCreation("-i no x", {"x"}, Inaccessible("no"), 44);
  ExpectRun("-c x", "", 0);
  EXPECT_EQ(NamesIn("DEFAULT.QEL"), Words{"x"});
  Write("c:", "a drive and nothing else");
  ExpectCreation("c:", {}, Inaccessible("c:"), 44);
}

TEST_F(Create, KnowsItselfByIdentityNotBySpelling) {
  Make({{"d/x", FileNode("1")}, {"a.qel", FileNode("old")}});
  std::filesystem::create_hard_link(Path("a.qel"), Path("d/other"));
  std::filesystem::create_symlink("../a.qel", Path("d/symlink"));
  ExpectRun("-cf a.qel d ./a.qel d/../a.qel a.qel", "", 0);
  EXPECT_EQ(NamesIn("a.qel"), (Words{"d", "d/x"}));
}

TEST_F(Create, ReplacesPermissionBitsWithP) {
  Make({{"d/x", FileNode("1", 0600)}});
  ExpectRun("-cf a.qel -p 644 d", "", 0);
  EXPECT_EQ(Entries("a.qel").at(0).mode, 0x41A4U);
  EXPECT_EQ(Entries("a.qel").at(1).mode, 0x81A4U);
  ExpectRun("-cf b.qel -p 7750junk d", "", 0);
  EXPECT_EQ(Entries("b.qel").at(1).mode, 0107750U);
}

TEST_F(Create, LeavesOutWhatCannotBeReadOrWouldBlock) {
  Make({{"d/closed", FileNode("1", 0000)}, {"d/open", FileNode("2")}, {"d/pipe", FifoNode()}});
  ExpectCreation("-i d", {"d", "d/open"}, Inaccessible("d/closed") + Inaccessible("d/pipe"), 44,
                 User::kNobody);
  if (!OnWindows()) ExpectCreation("/proc/version", {}, Inaccessible("/proc/version"), 44);
  Make({{"e/closed", DirectoryNode(0000)}});
  EXPECT_NE(Run("-cif a.qel e", User::kNobody).status, 0);
}

TEST_F(Create, FollowsSymbolicLinks) {
  Make({{"t/f", FileNode("text", 0600)},
        {"d/file", SymlinkNode("../t/f")},
        {"d/folder", SymlinkNode("../t")}});
  ExpectCreation("d", {"d", "d/file", "d/folder", "d/folder/f"});
  const auto entries = Entries("a.qel");
  EXPECT_EQ(entries.at(1).mode, StoredMode(0100600U));
  EXPECT_EQ(ContentOf(entries.at(1)), "text");
  EXPECT_EQ(entries.at(2).type, "DR");
}

TEST_F(Create, LeavesOutLinksThatLeadNowhereOrInCircles) {
  Make({{"d/link", SymlinkNode("..")}, {"d/x", FileNode("1")}});
  EXPECT_EQ(Run("-cf a.qel d").status, 45);  // the folder above is taken, d in it is not again
  EXPECT_EQ(ContentOf(Entries("a.qel").back()), "1");
  for (const std::string target : {".", "../d", "missing", "link"}) {
    if (target == "missing" && LeftOutOnWindows("links to nothing: Wine hides them")) return;
    Remove("d");
    Make({{"d/link", SymlinkNode(target)}, {"d/x", FileNode("1")}});
    const RunResult result = Run("-cf a.qel d");
    EXPECT_TRUE(result.out.starts_with("MOLDEX: no link target for d/link (error 45).")) << target;
    EXPECT_EQ(result.status, 45) << target;
    EXPECT_EQ(NamesIn("a.qel"), (Words{"d", "d/x"})) << target;
  }
}

TEST_F(Create, KeepsItsTextOutOfAnArchiveOnStandardOutput) {
  if (OnWindows()) GTEST_SKIP() << "/dev/stdout is a name of this system";
  Make({{"d/x", FileNode("1")}});
  const std::pair<const char*, const char*> cases[] = {
      {"-cvf /dev/stdout d", "a d\na d/x\n"},
      {"-backup -cif /dev/stdout d no",
       "MOLDEX: option -backup only supported by UNICODE Moldex (option ignored)\n"
       "MOLDEX: inaccessible file no\n"},
      {"-e -cvf /dev/stdout d", ""}};
  for (const auto& [line, text] : cases) {
    const RunResult result = RunProgram(folder_.Path(), SplitAtBlanks(line));
    EXPECT_EQ(ParseArchive(result.out).size(), 2U) << line;
    EXPECT_EQ(result.err, text);
  }
  EXPECT_EQ(Text("moldex_output"), "a d\na d/x\n");
}

TEST_F(Create, ReportsAnArchiveItCannotOpen) {
  Make({{"x", FileNode("1")}});
  ExpectRun("-cf no/a.qel x", OpenError("no/a.qel", Complaint::kNoPath), 6);
  ExpectRun("-cf . x", OpenError(".", Complaint::kIsDirectory), 6);
}

TEST_F(Create, DeletesNothingButTheArchiveThatItWrote) {
  if (OnWindows()) GTEST_SKIP() << "Wine deletes what a link leads to instead of the link";
  Make({{"real", FileNode("")}, {"link.qel", SymlinkNode("real")}});
  ExpectRun("-cf link.qel none",
            Inaccessible("none") + "MOLDEX: could not delete the incomplete archive link.qel\n",
            44);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link.qel")));
  EXPECT_EQ(Bytes("real"), "");
}

TEST_F(Append, AddsBehindTheLastByteButNeverItself) {
  Make({{"d/x", FileNode("one")}, {"y", FileNode("two")}});
  ExpectCreation("d", {"d", "d/x"});
  const std::string before = Bytes("a.qel");
  ExpectRun("-avf a.qel y ./a.qel d", "a y\na d\na d/x\n", 0);
  EXPECT_TRUE(Bytes("a.qel").starts_with(before));
  EXPECT_EQ(NamesIn("a.qel"), (Words{"d", "d/x", "y", "d", "d/x"}));
  ExpectBegins("-df a.qel", Processing("a.qel") + Tested(5), 0);
  Archive({});
  ExpectRun("-af a.qel .", "", 0);
  EXPECT_EQ(NamesIn("a.qel"), (Words{"./d", "./d/x", "./y"}));
}

TEST_F(Append, LeavesFilesThatAreNoArchivesUntouched) {
  Make({{"y", FileNode("two")}});
  for (const std::string content : {"just a text", "VUK 2.01", "vuk 2.00", "VUK_2.00",
                                    "VUK 2.00 followed by something that is no entry of ours"}) {
    Write("notes.txt", content);
    ExpectRun("-af notes.txt y", "MOLDEX: invalid archive notes.txt\n", 40);
    EXPECT_EQ(Bytes("notes.txt"), content);
  }
  for (const std::string content : {"VUK 2.0", "", "VUK 2.00RG, cut off"}) {
    Write("notes.txt", content);
    EXPECT_NE(Run("-af notes.txt y").status, 0) << content;
    EXPECT_EQ(Bytes("notes.txt"), content);
  }
  ExpectRun("-af no.qel y", OpenError("no.qel"), 6);
  EXPECT_FALSE(Exists("no.qel"));
}

TEST_F(Append, CutsBackToTheOldLengthWhenAFileIsInaccessible) {
  Make({{"y", FileNode("two")}});
  Archive({FileEntry("old", "content")});
  const std::string before = Bytes("a.qel");
  ExpectRun("-af a.qel y no y", Inaccessible("no"), 44);
  EXPECT_EQ(Bytes("a.qel"), before);
  ExpectRun("-aif a.qel y no", Inaccessible("no"), 44);
  EXPECT_EQ(NamesIn("a.qel"), (Words{"old", "y"}));
}

TEST_F(Merge, CopiesEveryByteOfTheSourceBehindItsHeaderUnread) {
  // Neither file is an archive; lengths around the size of one copied piece.
  for (const std::size_t length : {8u, 9u, 65536u + 7u, 65536u + 8u, 65536u + 9u, 200000u}) {
    const std::string source = Noise(length, 2);
    Write("s", source);
    Write("t", "x");
    ExpectRun("-m -v -f s,t", "", 0);
    EXPECT_EQ(Bytes("t"), "x" + source.substr(8)) << length;
    EXPECT_EQ(Bytes("s"), source);
  }
}

TEST_F(Merge, RefusesAnythingButTwoArchives) {
  Write("s.qel", BuildArchive({}));
  Write("short.qel", "VUK 2.0");
  const std::string not_two = Failure("merging only supported for exactly two archives", 100);
  const std::tuple<const char*, std::string, int> cases[] = {
      {"one.qel", not_two, 100},
      {"a.qel,b.qel,c.qel", not_two, 100},
      {"none.qel,s.qel", OpenError("none.qel"), 6},
      {"s.qel,none.qel", OpenError("none.qel"), 6},
      {"short.qel,s.qel", Failure("error reading from short.qel", 5), 5}};
  for (const auto& [archives, message, status] : cases)
    ExpectRun(std::string("-mf ") + archives, message, status);
  EXPECT_EQ(Below("").size(), 2U);
}

TEST_F(Merge, RefusesAnArchiveMergedWithItselfUnderAnyName) {
  const std::string archive = BuildArchive({FileEntry("f", "content")});
  Write("a.qel", archive);
  std::filesystem::create_symlink("a.qel", Path("link.qel"));
  std::filesystem::create_hard_link(Path("a.qel"), Path("hard.qel"));
  for (const std::string other : {"a.qel", "./a.qel", "link.qel", "hard.qel"}) {
    ExpectRun("-mf a.qel," + other,
              Failure("an archive can not be merged with itself: " + other, 58), 58);
    EXPECT_EQ(Bytes("a.qel"), archive);
  }
}

}  // namespace
}  // namespace moldex::test

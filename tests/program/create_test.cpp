// Creating archives: what is stored, byte by byte, and what is left out.
#include <filesystem>
#include <random>
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

using Create = ProgramTest;
using Names = std::vector<std::string>;

std::string RandomBytes(std::size_t count) {
  std::mt19937 random(12345);  // NOLINT(cert-msc51-cpp): the same bytes in every run
  std::string bytes(count, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  return bytes;
}

TEST_F(Create, StoresEveryFieldOfAFile) {
  Make({{"x", FileNode("123456789", 0640, 1700000000)}});
  ExpectRun("-cf a.qel x", "", 0);
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
    tree["r" + std::to_string(length)] = FileNode(RandomBytes(length));
    tree["z" + std::to_string(length)] = FileNode(std::string(length, 'z'));
  }
  for (const auto& [name, node] : tree)
    MakeTree(folder_.Path(), {{"d/" + name, node}});
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
  Make({{"d/b", FileNode("")},
        {"d/B", FileNode("")},
        {"d/a", DirectoryNode(0750)},
        {"d/a/z", FileNode("")},
        {"d/a.x", FileNode("")},
        {"d/.hidden", FileNode("")},
        {"d/\xC3\xA9", FileNode("")},
        {"d/~", FileNode("")}});
  ExpectRun("-cf a.qel d", "", 0);
  const auto entries = Entries("a.qel");
  EXPECT_EQ(NamesOf(entries),
            (Names{"d", "d/.hidden", "d/B", "d/a", "d/a/z", "d/a.x", "d/b", "d/~", "d/\xC3\xA9"}));
  EXPECT_EQ(entries.at(3).type, "DR");
  EXPECT_EQ(entries.at(3).mode, StoredMode(040750U));
  EXPECT_EQ(entries.at(3).size_low, 0U);
  ExpectRun("-cf b.qel d", "", 0);
  EXPECT_TRUE(Bytes("a.qel") == Bytes("b.qel"));
}

TEST_F(Create, StoresWhatADotHoldsAndNeverItself) {
  Make({{"x", FileNode("1")}, {".p", FileNode("2")}, {"d/y", FileNode("3")}});
  std::filesystem::create_hard_link(Path("x"), Path("l"));
  ExpectRun("-cf a.qel .", "", 0);
  EXPECT_EQ(NamesOf(Entries("a.qel")), (Names{"./.p", "./d", "./d/y", "./l", "./x"}));
}

TEST_F(Create, KnowsItselfByIdentityNotBySpelling) {
  Make({{"d/x", FileNode("1")}, {"a.qel", FileNode("old")}});
  std::filesystem::create_hard_link(Path("a.qel"), Path("d/other"));
  std::filesystem::create_symlink("../a.qel", Path("d/symlink"));
  ExpectRun("-cf a.qel d ./a.qel d/../a.qel a.qel", "", 0);
  EXPECT_EQ(NamesOf(Entries("a.qel")), (Names{"d", "d/x"}));
}

TEST_F(Create, UsesTheDefaultArchive) {
  Make({{"x", FileNode("1")}});
  ExpectRun("-c x", "", 0);
  EXPECT_EQ(NamesOf(Entries("DEFAULT.QEL")), Names{"x"});
}

TEST_F(Create, TakesNamesRelativeToTheCDirectory) {
  Make({{"d/e/f", FileNode("1")}, {"x", FileNode("2")}});
  ExpectRun("-cf a.qel -C d e", "", 0);  // the archive stays where the program was started
  EXPECT_EQ(NamesOf(Entries("a.qel")), (Names{"e", "e/f"}));
  ExpectRun("-cf b.qel -C d x", "MOLDEX: inaccessible file x\n", 44);
  EXPECT_FALSE(Exists("b.qel") || Exists("d/b.qel"));
  ExpectRun(
      "-cf c.qel x -C no",
      "MOLDEX: can not change to dir no (error 102). " + SystemText(Complaint::kNoFile) + "\n",
      102);
}

TEST_F(Create, ReplacesPermissionBitsWithP) {
  Make({{"d/x", FileNode("1", 0600)}});
  ExpectRun("-cf a.qel -p 644 d", "", 0);
  EXPECT_EQ(Entries("a.qel").at(0).mode, 0x41A4U);
  EXPECT_EQ(Entries("a.qel").at(1).mode, 0x81A4U);
  ExpectRun("-cf b.qel -p 750junk d", "", 0);
  EXPECT_EQ(Entries("b.qel").at(1).mode, 0100750U);
}

TEST_F(Create, DropsTheArchiveWhenAFileIsInaccessible) {
  Make({{"x", FileNode("1")}});
  ExpectRun("-cf a.qel no x no2", "MOLDEX: inaccessible file no\nMOLDEX: inaccessible file no2\n",
            44);
  EXPECT_FALSE(Exists("a.qel"));
  ExpectRun("-cif a.qel no x", "MOLDEX: inaccessible file no\n", 44);
  EXPECT_EQ(NamesOf(Entries("a.qel")), Names{"x"});
}

TEST_F(Create, LeavesOutWhatCannotBeRead) {
  Make({{"d/closed", FileNode("1", 0000)}, {"d/open", FileNode("2")}});
  ExpectRun("-cif a.qel d", "MOLDEX: inaccessible file d/closed\n", 44, User::kNobody);
  EXPECT_EQ(NamesOf(Entries("a.qel")), (Names{"d", "d/open"}));
  Make({{"e/closed", DirectoryNode(0000)}});
  EXPECT_NE(Run("-cif a.qel e", User::kNobody).status, 0);
}

TEST_F(Create, NeverOpensAFifo) {
  Make({{"d/pipe", FifoNode()}, {"d/x", FileNode("1")}});
  ExpectRun("-cif a.qel d", "MOLDEX: inaccessible file d/pipe\n", 44);
  EXPECT_EQ(NamesOf(Entries("a.qel")), (Names{"d", "d/x"}));
}

TEST_F(Create, FollowsSymbolicLinks) {
  Make({{"t/f", FileNode("text", 0600)},
        {"d/file", SymlinkNode("../t/f")},
        {"d/folder", SymlinkNode("../t")}});
  ExpectRun("-cf a.qel d", "", 0);
  const auto entries = Entries("a.qel");
  EXPECT_EQ(NamesOf(entries), (Names{"d", "d/file", "d/folder", "d/folder/f"}));
  EXPECT_EQ(entries.at(1).mode, StoredMode(0100600U));
  EXPECT_EQ(ContentOf(entries.at(1)), "text");
  EXPECT_EQ(entries.at(2).type, "DR");
}

TEST_F(Create, LeavesOutLinksThatLeadNowhereOrInCircles) {
  for (const std::string target : {"missing", ".", "../d", "link"}) {
    if ((target == "missing" || target == "link") &&
        LeftOutOnWindows("links to nothing: Wine hides them")) {
      continue;
    }
    const TempDir folder;
    MakeTree(folder.Path(), {{"d/link", SymlinkNode(target)}, {"d/x", FileNode("1")}});
    const RunResult result = RunProgram(folder.Path(), {"-cf", "a.qel", "d"});
    const std::string message = "MOLDEX: no link target for d/link (error 45).";
    EXPECT_EQ(result.out.substr(0, message.size()), message) << target;
    EXPECT_EQ(result.status, 45) << target;
    EXPECT_EQ(NamesOf(ParseArchive(ReadFile(folder.Path() / "a.qel"))), (Names{"d", "d/x"}));
  }
}

TEST_F(Create, EndsWhenALinkLeadsAboveTheWalk) {
  Make({{"d/link", SymlinkNode("..")}, {"d/x", FileNode("1")}});
  EXPECT_EQ(Run("-cf a.qel d").status, 45);  // the folder above is taken, d in it is not again
  EXPECT_EQ(ContentOf(Entries("a.qel").back()), "1");
}

TEST_F(Create, ReportsAnArchiveItCannotOpenOrWrite) {
  Make({{"x", FileNode("1")}});
  ExpectRun("-cf no/a.qel x", OpenError("no/a.qel", Complaint::kNoPath), 6);
  ExpectRun("-cf . x", OpenError(".", Complaint::kIsDirectory), 6);
  // A write that fails there has a test of its own, with a limit in place of a full disk.
  if (LeftOutOnWindows("/dev/full: Wine does not open it")) return;
  ExpectRun("-cf /dev/full x",
            "MOLDEX: error writing to /dev/full (error 4). No space left on device\n", 4,
            User::kNobody);
}

TEST_F(Create, RunsInConstantMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
  {
    std::string big = RandomBytes(2'000'000);
    for (int doubling = 0; doubling < 4; ++doubling)
      big += big;
    Make({{"d/big", FileNode(big)}});
  }  // what the tests hold would count as the program's
  EXPECT_LT(Run("-cf a.qel d").peak_rss_kib, 8192);
  EXPECT_LT(Run("-df a.qel").peak_rss_kib, 8192);
  EXPECT_LT(Run("-xf a.qel -R out").peak_rss_kib, 8192);
  EXPECT_TRUE(Bytes("out/d/big") == Bytes("d/big"));
}

TEST_F(Create, DeletesNothingButTheArchiveThatItWrote) {
  if (OnWindows()) GTEST_SKIP() << "Wine deletes what a link leads to instead of the link";
  Make({{"real", FileNode("")}, {"link.qel", SymlinkNode("real")}});
  ExpectRun("-cf link.qel none",
            "MOLDEX: inaccessible file none\n"
            "MOLDEX: could not delete the incomplete archive link.qel\n",
            44);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link.qel")));
  EXPECT_EQ(Bytes("real"), "");
}

TEST_F(Create, ReportsAFileThatHasNoStorableName) {
  Write("c:", "a drive and nothing else");
  ExpectRun("-cf a.qel c:", "MOLDEX: inaccessible file c:\n", 44);
}

TEST_F(Create, TakesAnExistingNameForNoPattern) {
  if (OnWindows()) GTEST_SKIP() << "no file can have such a name there";
  Make({{"wha?", FileNode("1")}, {"what", FileNode("2")}});
  ExpectRun("-cvf a.qel wha?", "a wha?\n", 0);
}

}  // namespace
}  // namespace moldex::test

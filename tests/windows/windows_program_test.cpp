// moldex.exe and what only Windows has: shortcuts and attributes; and its archives
// against those of the program of this system.
#include "windows/windows_test.h"

namespace moldex::test {
namespace {

TEST_F(Windows, ShortcutsGoInAsWhatTheyPointTo) {
  Make({{"there/text", FileNode("the text")}, {"there/d/x", FileNode("x")}});
  MakeShortcut("there/text", "s.lnk");
  MakeShortcut("there/d", "D.LNK");
  ExpectCreation("-v s.lnk D.LNK", {"text", "d"}, "a text\na d\n");
  const auto entries = Entries("a.qel");
  EXPECT_EQ(entries[0].type, "RG");
  EXPECT_EQ(ContentOf(entries[0]), "the text");
  EXPECT_EQ(entries[1].type, "DR");
  ExpectCreation("-P s.lnk", {DriveZ("there/text")});
}

TEST_F(Windows, ShortcutsAreStoredThemselvesWithR) {
  Make({{"d/text", FileNode("the text")}});
  MakeShortcut("d/text", "d/s.lnk");
  ExpectCreation("-r d", {"d", "d/s.lnk", "d/text"});
  const QelEntry shortcut = Entries("a.qel").at(1);
  EXPECT_EQ(shortcut.type, "SC");
  EXPECT_EQ(shortcut.mode, 0x1000u | 0666u);
  EXPECT_EQ(ContentOf(shortcut), Bytes("d/s.lnk"));
  ExpectExtraction(Extracted(3));
  EXPECT_EQ(Bytes("out/d/s.lnk"), Bytes("d/s.lnk"));
}

TEST_F(Windows, AShortcutWithoutTargetOrToAShortcutIsReportedAndLeftOut) {
  Make({{"gone", FileNode("1")}, {"x", FileNode("2")}, {"no.lnk", FileNode("not a shortcut")}});
  MakeShortcut("gone", "s.lnk");
  std::filesystem::remove(Path("gone"));
  ExpectCreation("s.lnk no.lnk x", {"x"},
                 Failure("no link target for s.lnk", 45) + Failure("no link target for no.lnk", 45),
                 45);
  MakeShortcut("x", "one.lnk");
  MakeShortcut("one.lnk", "two.lnk");
  const RunResult result = Run("-cif a.qel two.lnk x");
  // Some shells follow the chain when the shortcut is made: then there is none.
  if (result.status == 0) GTEST_SKIP() << "this shell makes no shortcut to a shortcut";
  EXPECT_EQ(result.out, Inaccessible("two.lnk"));
  EXPECT_EQ(result.status, 44);
}

TEST_F(Windows, BackslashesSeparateOnTheCommandLine) {
  Make({{"d/sub/x", FileNode("1")}});
  ExpectRun("-cvf d\\a.qel d\\sub", "a d/sub\na d/sub/x\n", 0);
  EXPECT_EQ(NamesIn("d/a.qel"), (Words{"d/sub", "d/sub/x"}));
  ExpectRun("-xf d\\a.qel -R out\\deep", Processing("d\\a.qel") + Extracted(2), 0);
  EXPECT_EQ(Bytes("out/deep/d/sub/x"), "1");
}

TEST_F(Windows, NamesOfAListAndPatternsAreFoundInAnyCase) {
  Make({{"d/a.txt", FileNode("1")}, {"d/\xC3\xA4.TXT", FileNode("2")}, {"d/plain", FileNode("3")}});
  Write("list", "D/\xC3\x84.txt\n");
  Write("new", "D/A.TXT|renamed\n");
  ExpectCreation("d/*.TXT", {"d/a.txt", "d/\xC3\xA4.TXT"});
  ExpectCreation("d/\xC3\x84*", {"d/\xC3\xA4.TXT"});
  ExpectCreation("d/*.* -X list", {"d/a.txt", "d/plain"});
  ExpectCreation("-T new d", {"d", "renamed", "d/plain", "d/\xC3\xA4.TXT"});
}

TEST_F(Windows, AttributesComeBackInLongNameMode) {
  const std::vector<std::pair<std::string, std::uint32_t>> modes = {
      {"d", 0x4180 | 0x40000 | 0x80000},
      {"d/hidden", 0x180 | 0x40000},
      {"d/plain", 0x180},
      {"d/read-only", 0x100},
      {"d/system", 0x180 | 0x80000},
      {"d/tool.exe", 0x1C0}};
  std::vector<QelEntry> entries;
  for (const auto& [name, mode] : modes) {
    QelEntry entry = FileEntry(name, "content", mode);
    if (name == "d") entry = DirectoryEntry(name, mode);
    entry.time_low = 0;
    entry.time_high = 30000000;
    entries.push_back(entry);
  }
  Archive(entries, kLongNamesHeader);
  for (const std::string option : {"", " -h"}) {
    Remove("d");
    ExpectRun("-xf a.qel" + option, Processing("a.qel") + Extracted(6), 0);
    const auto again = LongNameEntries("d");
    ASSERT_EQ(again.size(), modes.size());
    constexpr std::uint32_t kKept = 0x4000 | 0x1C0 | 0x40000 | 0x80000;
    for (std::size_t i = 0; i < modes.size(); ++i) {
      EXPECT_EQ(again[i].name, modes[i].first);
      EXPECT_EQ(again[i].mode & kKept, modes[i].second) << again[i].name << option;
      EXPECT_TRUE(i == 0 || again[i].time_high == 30000000u) << again[i].name;
    }
  }
}

TEST_F(Windows, EachProgramReadsTheOthersArchivesWhichAreTheSameButForModes) {
  const Tree tree = {{"d", DirectoryNode()},
                     {"d/text", FileNode(Numbers(50'000))},
                     {"d/empty", FileNode("", 0444, 1)},
                     {"d/\xC3\xA4\xE6\x97\xA5 \xF0\x9F\x98\x80", FileNode("name", 0444)},
                     {"d/sub", DirectoryNode()},
                     {"d/sub/late", FileNode("late", 0644, 0xF0000000)}};
  Make(tree);
  EXPECT_EQ(RunNative({"-cf", "native.qel", "d"}).status, 0);
  ExpectRun("-cf windows.qel d", "", 0);
  auto native = Entries("native.qel");
  auto windows = Entries("windows.qel");
  ASSERT_EQ(native.size(), windows.size());
  for (std::size_t i = 0; i < native.size(); ++i) {
    EXPECT_EQ(windows[i].mode, StoredMode(native[i].mode)) << native[i].name;
    windows[i].mode = native[i].mode;
    EXPECT_TRUE(EncodeEntry(windows[i]) == EncodeEntry(native[i])) << native[i].name;
  }
  ExpectRun("-xf native.qel -R w", Processing("native.qel") + Extracted(6), 0);
  EXPECT_EQ(Below("w"), AsExtracted(tree));
  EXPECT_EQ(RunNative({"-df", "windows.qel"}).status, 0);
  EXPECT_EQ(RunNative({"-xf", "windows.qel", "-R", "n"}).status, 0);
  Tree from_windows = tree;
  for (auto& [name, node] : from_windows)
    node.mode = node.kind == Kind::kDirectory ? 0777 : StoredMode(0100000 | node.mode) & 0777;
  EXPECT_EQ(Below("n"), from_windows);
  // Names and dates in long-name mode, the modes made from attributes.
  Write("long.qel", std::string(kLongNamesHeader));
  ExpectRun("-af long.qel d", "", 0);
  EXPECT_EQ(RunNative({"-xf", "long.qel", "-R", "l"}).status, 0);
  EXPECT_EQ(Bytes("l/d/text"), tree.at("d/text").content);
  EXPECT_EQ(Below("l").at("d/empty").mtime, 1);
}

}  // namespace
}  // namespace moldex::test

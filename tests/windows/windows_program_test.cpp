// moldex.exe and what only Windows has: shortcuts, attributes, refused names; and its archives
// against those of the program of this system.
#include <string>
#include <utility>
#include <vector>

#include "windows/windows_test.h"

namespace moldex::test {
namespace {

TEST_F(Windows, ShortcutsGoInAsWhatTheyPointTo) {
  Make({{"there/text", FileNode("the text")}, {"there/d/x", FileNode("x")}});
  MakeShortcut("there/text", "s.lnk");
  MakeShortcut("there/d", "D.LNK");
  ExpectRun("-cvf a.qel s.lnk D.LNK", "a text\na d\n", 0);
  const auto entries = Entries("a.qel");
  ASSERT_EQ(NamesOf(entries), (std::vector<std::string>{"text", "d"}));
  EXPECT_EQ(entries[0].type, "RG");
  EXPECT_EQ(ContentOf(entries[0]), "the text");
  EXPECT_EQ(entries[1].type, "DR");
  ExpectRun("-P -cf b.qel s.lnk", "", 0);
  EXPECT_EQ(NamesOf(Entries("b.qel")), std::vector{DriveZ("there/text")});
}

TEST_F(Windows, ShortcutsAreStoredThemselvesWithR) {
  Make({{"d/text", FileNode("the text")}});
  MakeShortcut("d/text", "d/s.lnk");
  ExpectRun("-crf a.qel d", "", 0);
  const auto entries = Entries("a.qel");
  ASSERT_EQ(NamesOf(entries), (std::vector<std::string>{"d", "d/s.lnk", "d/text"}));
  EXPECT_EQ(entries[1].type, "SC");
  EXPECT_EQ(entries[1].mode, 0x1000u | 0666u);
  EXPECT_EQ(ContentOf(entries[1]), Bytes("d/s.lnk"));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + "MOLDEX: 3 file(s) extracted\n", 0);
  EXPECT_EQ(Bytes("out/d/s.lnk"), Bytes("d/s.lnk"));
}

TEST_F(Windows, AShortcutWithoutTargetIsReportedAndLeftOut) {
  Make({{"gone", FileNode("1")}, {"x", FileNode("2")}, {"no.lnk", FileNode("not a shortcut")}});
  MakeShortcut("gone", "s.lnk");
  std::filesystem::remove(Path("gone"));
  ExpectRun("-cf a.qel s.lnk no.lnk x",
            "MOLDEX: no link target for s.lnk (error 45). \n"
            "MOLDEX: no link target for no.lnk (error 45). \n",
            45);
  EXPECT_EQ(NamesOf(Entries("a.qel")), std::vector<std::string>{"x"});
}

TEST_F(Windows, AShortcutToAShortcutIsInaccessible) {
  Make({{"x", FileNode("1")}});
  MakeShortcut("x", "one.lnk");
  MakeShortcut("one.lnk", "two.lnk");
  const RunResult result = Run("-cif a.qel two.lnk x");
  // Some shells follow the chain when the shortcut is made: then there is none.
  if (result.status == 0) GTEST_SKIP() << "this shell makes no shortcut to a shortcut";
  EXPECT_EQ(result.out, "MOLDEX: inaccessible file two.lnk\n");
  EXPECT_EQ(result.status, 44);
}

// No device is ever opened here: every one of these is refused by its name.
TEST_F(Windows, NamesThatWouldBecomeSomethingElseAreRefused) {
  for (const std::string name :
       {"NUL", "d/con.txt", "com1", "LPT9.x", "conin$", "dot.", "blank ", "d/ /x", "m/a:stream",
        "a<b", "a>b", "a\"b", "a|b", "a?b", "a*b", "tab\tx", "COM\xC2\xB2"}) {
    Write("a.qel", BuildArchive({FileEntry(name, "1"), FileEntry("after", "2")}));
    ExpectRun("-xf a.qel",
              Processing("a.qel") + "MOLDEX: name is not allowed on this system: " + name +
                  " (error 59). \nMOLDEX: 1 file(s) extracted\n",
              59);
    EXPECT_EQ(Bytes("after"), "2") << name;
    ExpectRun("-df a.qel", Processing("a.qel") + "MOLDEX: 2 file(s) tested\n", 0);
    EXPECT_EQ(ReadTree(folder_.Path()).size(), 2u) << name;
  }
}

TEST_F(Windows, BackslashesSeparateOnTheCommandLine) {
  Make({{"d/sub/x", FileNode("1")}});
  ExpectRun("-cvf d\\a.qel d\\sub", "a d/sub\na d/sub/x\n", 0);
  EXPECT_EQ(NamesOf(Entries("d/a.qel")), (std::vector<std::string>{"d/sub", "d/sub/x"}));
  ExpectRun("-xf d\\a.qel -R out\\deep", Processing("d\\a.qel") + "MOLDEX: 2 file(s) extracted\n",
            0);
  EXPECT_EQ(Bytes("out/deep/d/sub/x"), "1");
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
  Write("a.qel", BuildArchive(entries, kLongNamesHeader));
  ExpectRun("-xf a.qel", Processing("a.qel") + "MOLDEX: 6 file(s) extracted\n", 0);
  const auto again = LongNameEntries("d");
  ASSERT_EQ(again.size(), modes.size());
  constexpr std::uint32_t kKept = 0x4000 | 0x1C0 | 0x40000 | 0x80000;
  for (std::size_t i = 0; i < modes.size(); ++i) {
    EXPECT_EQ(again[i].name, modes[i].first);
    EXPECT_EQ(again[i].mode & kKept, modes[i].second) << again[i].name;
    EXPECT_TRUE(i == 0 || again[i].time_high == 30000000u) << again[i].name;
  }
}

TEST_F(Windows, BothProgramsMakeTheSameArchivesButForModes) {
  std::string text;
  for (int i = 0; i < 50000; ++i)
    text += std::to_string(i * 7919 % 10007) + ' ';
  Make({{"d/text", FileNode(text)},
        {"d/empty", FileNode("", 0444, 1)},
        {"d/\xC3\xA4\xE6\x97\xA5 \xF0\x9F\x98\x80", FileNode("name")},
        {"d/sub/late", FileNode("late", 0600, 0xF0000000)}});
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
}

TEST_F(Windows, EachProgramReadsTheOthersArchives) {
  const Tree tree = {{"d", DirectoryNode()},
                     {"d/text", FileNode(std::string(200000, 't') + "end")},
                     {"d/\xC3\xA4", FileNode("name", 0444)},
                     {"d/sub", DirectoryNode()},
                     {"d/sub/x", FileNode("x", 0644, 1)}};
  Make(tree);
  EXPECT_EQ(RunNative({"-cf", "native.qel", "d"}).status, 0);
  ExpectRun("-cf windows.qel d", "", 0);
  ExpectRun("-xf native.qel -R w", Processing("native.qel") + "MOLDEX: 5 file(s) extracted\n", 0);
  EXPECT_EQ(Below("w"), AsExtracted(tree));
  EXPECT_EQ(RunNative({"-xf", "windows.qel", "-R", "n"}).status, 0);
  Tree from_windows = tree;
  for (auto& [name, node] : from_windows)
    node.mode = node.kind == Kind::kDirectory ? 0777 : StoredMode(0100000 | node.mode) & 0777;
  EXPECT_EQ(Below("n"), from_windows);
  EXPECT_EQ(RunNative({"-df", "windows.qel"}).status, 0);
  // Names and dates in long-name mode, the modes made from attributes.
  Write("long.qel", std::string(kLongNamesHeader));
  ExpectRun("-af long.qel d", "", 0);
  EXPECT_EQ(RunNative({"-xf", "long.qel", "-R", "l"}).status, 0);
  EXPECT_EQ(Bytes("l/d/text"), tree.at("d/text").content);
  EXPECT_EQ(Below("l").at("d/sub/x").mtime, 1);
}

}  // namespace
}  // namespace moldex::test

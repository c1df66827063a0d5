// Names: what an archive may call its entries, and where they end up.
#include <filesystem>
#include <set>
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

using Names = ProgramTest;

std::string LongName(std::size_t length) {
  std::string name(length, 'n');
  name[length / 2] = '/';  // a part may have 255 bytes only
  return name;
}

// What becomes of an entry's name below "out": the file that it is written to, or why it is left
// out.
constexpr char kClimbs[] = "MOLDEX: name leaves the target directory (use -P to allow it): ";
constexpr char kNotAllowed[] = "MOLDEX: name is not allowed on this system: ";

struct NameCase {
  std::string name;
  const char* becomes;
  const char* on_windows = nullptr;  // where it differs
};

const NameCase kNameCases[] = {
    // "..", bare, in front, within and behind.
    {"..", kClimbs},
    {"../outside", kClimbs},
    {"../../outside", kClimbs},
    {"a/../outside", kClimbs},
    {"a/..", kClimbs},
    {"a/../../outside", kClimbs},
    {"./../outside", kClimbs},
    {"/../outside", kClimbs},
    {"//../outside", kClimbs},
    {"a//..//..//outside", kClimbs},
    {"a/../", kClimbs},
    // With the separators of one system only.
    {"..\\outside", "..\\outside", kClimbs},
    {"a\\..\\..\\outside", "a\\..\\..\\outside", kClimbs},
    {"a/..\\..\\outside", "a/..\\..\\outside", kClimbs},
    {"..\\../outside", "..\\../outside", kClimbs},
    {"back\\slash", "back\\slash", "back/slash"},
    // What only looks like it.
    {"...", "...", kNotAllowed},
    {"..x", "..x"},
    {"x..", "x..", kNotAllowed},
    {"a/..b/x", "a/..b/x"},
    {"./x", "x"},
    {"a/./x", "a/x"},
    {"a//x", "a/x"},
    // Absolute, which a target directory makes relative, and with something like a drive.
    {"/x/y", "x/y"},
    {"//server/share/x", "server/share/x"},
    {"ab:c", "ab:c", "c"},
    {"ab:../outside", "ab:../outside", kClimbs},
    {"m/Foo::Bar.3", "m/Foo::Bar.3", kNotAllowed},
    // What Windows would take for something else.
    {"CON", "CON", kNotAllowed},
    {"a/nul.txt", "a/nul.txt", kNotAllowed},
    {"a.", "a.", kNotAllowed},
    {"a /b", "a /b", kNotAllowed},
    {"a?b*c", "a?b*c", kNotAllowed},
    // Any bytes: control characters, a zero that ends the name, UTF-8 of all lengths.
    {"a\x01\x1B[2J\x7F", "a\x01\x1B[2J\x7F", kNotAllowed},
    {"a\nb\tc", "a\nb\tc", kNotAllowed},
    {std::string("cut\0/../../outside", 17), "cut"},
    {"sp\xC3\xA4\xC3\x9F/\xE6\x97\xA5\xE6\x9C\xAC", "sp\xC3\xA4\xC3\x9F/\xE6\x97\xA5\xE6\x9C\xAC"},
    {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
};

TEST_F(Names, ExtractionPutsEveryNameBelowItsTargetOrLeavesItOut) {
  const Tree outside = {{"outside", FileNode("must stay", 0640, 1000000000)},
                        {"base/outside", FileNode("must stay", 0640, 1000000000)}};
  for (const auto& [name, posix, on_windows] : kNameCases) {
    SCOPED_TRACE(name);
    const std::string becomes = OnWindows() && on_windows != nullptr ? on_windows : posix;
    const bool left_out = becomes.starts_with("MOLDEX: ");
    RemoveTree(Path("base"));
    Make(outside);
    Make({{"base/in", DirectoryNode()}});
    Write("base/in/a.qel", BuildArchive({FileEntry(name, "1"), FileEntry("behind", "2")}));
    const RunResult result = RunProgram(Path("base/in"), {"-xf", "a.qel", "-R", "out"});
    const int code = becomes == kClimbs ? 55 : 59;
    EXPECT_EQ(result.status, left_out ? code : 0) << result.out;
    const std::string message =
        left_out ? becomes + name + " (error " + std::to_string(code) + "). \n" : "";
    EXPECT_EQ(result.out, Processing("a.qel") + message + Extracted(left_out ? 1 : 2));
    std::set<std::string> files;
    for (const auto& [path, node] : Below("base/in/out")) {
      if (node.kind == Kind::kFile) files.insert(path);
    }
    EXPECT_EQ(files, left_out ? std::set<std::string>{"behind"}
                              : (std::set<std::string>{"behind", becomes}));
    Tree all = Below(".");
    EXPECT_EQ(all["outside"], outside.at("outside"));
    EXPECT_EQ(all["base/outside"], outside.at("base/outside"));
    std::erase_if(all, [](const auto& item) { return item.first.starts_with("base/in/out"); });
    EXPECT_EQ(all.size(), 5U);  // nothing beside the archive and the target
  }
}

TEST_F(Names, WithoutATargetAnAbsoluteNameIsWrittenWhereItSays) {
  const std::string place = Path("else/where").string();
  Write("a.qel", BuildArchive({FileEntry(place, "1")}));
  ExpectRun("-xf a.qel", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes("else/where"), "1");
  RemoveTree(Path("else"));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(1), 0);
  EXPECT_FALSE(Exists("else"));
  EXPECT_EQ(Bytes("out" + place), "1");
}

TEST_F(Names, OfTwoEntriesTheLaterCountsAndALinkBeforeAFile) {
  QelEntry link;
  link.type = "LK";
  link.mode = 0x1000 | 0777;
  link.name = "x";
  link.user_data = "target";
  const QelEntry one = FileEntry("x", "1");
  const QelEntry two = FileEntry("x", "2", 0100600);
  const QelEntry folder = DirectoryEntry("x", 040755);
  const Tree second = AsExtracted({{"x", FileNode("2", 0600)}});
  const Tree kept_link = {{"x", SymlinkNode("target")}};
  const bool links = !OnWindows();  // Wine makes none
  const struct {
    std::vector<QelEntry> entries;
    int status;
    Tree tree;
    bool here = true;
  } cases[] = {
      {{one, two}, 0, second},
      {{one, link}, 0, kept_link, links},
      {{link, one}, 0, kept_link, links},
      {{folder, DirectoryEntry("x", 040700)}, 0, AsExtracted({{"x", DirectoryNode(0700)}})},
      {{folder, FileEntry("x/y", "1"), two},
       28,
       AsExtracted({{"x", DirectoryNode()}, {"x/y", FileNode("1")}})},
      {{two, folder}, 3, second},
      {{folder, link, FileEntry("y", "1")},
       28,
       {{"x", DirectoryNode()}, {"y", FileNode("1")}},
       links},
      {{FileEntry("x", "1", 0100400), two}, 28, AsExtracted({{"x", FileNode("1", 0400)}})},
  };
  for (const auto& [entries, status, tree, here] : cases) {
    if (!here) continue;
    RemoveTree(Path("out"));
    Write("a.qel", BuildArchive(entries));
    EXPECT_EQ(Run("-xf a.qel -R out", User::kNobody).status, status);
    EXPECT_EQ(Below("out"), tree);
  }
}

TEST_F(Names, ThatDifferInCaseAreOneFileWhereTheSystemSaysSo) {
  Write("a.qel", BuildArchive({FileEntry("Name", "1"), FileEntry("nAME", "2"), DirectoryEntry("D"),
                               FileEntry("d/x", "3")}));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(4), 0);
  EXPECT_EQ(Bytes("out/Name"), OnWindows() ? "2" : "1");
  EXPECT_EQ(Bytes(OnWindows() ? "out/D/x" : "out/d/x"), "3");
  EXPECT_EQ(Below("out").size(), OnWindows() ? 3U : 5U);
}

TEST_F(Names, ExtractionClimbsWithP) {
  Write("a.qel", BuildArchive({FileEntry("../x", "1"), DirectoryEntry("../d")}));
  ExpectRun("-xf a.qel -R out -P", Processing("a.qel") + Extracted(2), 0);
  EXPECT_EQ(Bytes("x"), "1");
  EXPECT_TRUE(std::filesystem::is_directory(Path("d")));
}

TEST_F(Names, ANameWithADriveIsAbsolute) {
  // Wine's drive of this machine's files does not begin in the test's folder, as "C:" does here.
  const std::string drive = OnWindows() ? "Z:" + Path("").string() : "C:/";
  Write("a.qel", BuildArchive({FileEntry(drive + "x/y", "1")}));
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes(OnWindows() ? "x/y" : "C:/x/y"), "1");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(Names, CreationStoresNamesAsGivenWithoutRootAndDrive) {
  Make(
      {{"x", FileNode("1")}, {"back/slash", FileNode("1")}, {"sp\xC3\xA4\xC3\x9F", FileNode("1")}});
  const std::string backslash = OnWindows() ? "back/slash" : "back\\slash";
  if (!OnWindows()) {
    Make({{"m/Foo::Bar.3", FileNode("1")},
          {"C:/f", FileNode("1")},
          {"C:g", FileNode("1")},
          {"back\\slash", FileNode("1")}});
  }
  const std::string absolute = Path("x").string();
  const struct {
    std::string operand;
    std::string stored;
    std::string stored_with_p;
    bool on_windows = true;
  } cases[] = {
      {"x", "x", "x"},
      {"./x", "./x", "./x"},
      {"back/../x", "back/../x", "back/../x"},
      {absolute, absolute.substr(1), absolute},
      {"m/Foo::Bar.3", "m/Foo::Bar.3", "m/Foo::Bar.3", false},
      {"C:/f", "f", "C:/f", false},
      {"C:g", "g", "C:g", false},
      {"back\\slash", backslash, backslash},
      {"sp\xC3\xA4\xC3\x9F", "sp\xC3\xA4\xC3\x9F", "sp\xC3\xA4\xC3\x9F"},
  };
  for (const auto& [operand, stored, stored_with_p, on_windows] : cases) {
    if (!on_windows && LeftOutOnWindows("names with \":\": no file can have one")) continue;
    ExpectRun("-cf a.qel " + operand, "", 0);
    EXPECT_EQ(NamesOf(Entries("a.qel")), std::vector{stored});
    ExpectRun("-P -cf a.qel " + operand, "", 0);
    EXPECT_EQ(NamesOf(Entries("a.qel")), std::vector{stored_with_p});
  }
}

TEST_F(Names, CreationRefusesNamesOver260Bytes) {
  const std::string longest = LongName(260);
  const std::string over = LongName(261);
  Make({{longest, FileNode("1")}, {over, FileNode("2")}});
  ExpectRun("-cf a.qel " + longest, "", 0);
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes("out/" + longest), "1");
  ExpectRun("-icf b.qel " + over + " " + longest, "MOLDEX: inaccessible file " + over + "\n", 44);
  EXPECT_EQ(NamesOf(Entries("b.qel")), std::vector{longest});
}

TEST_F(Names, ReadingRefusesNamesOver260Bytes) {
  Write("a.qel", BuildArchive({FileEntry(LongName(260), "1")}));
  EXPECT_EQ(Run("-tf a.qel").status, 0);
  for (const std::size_t length : {261U, 262U, 300U, 65534U}) {
    Write("a.qel", BuildArchive({DirectoryEntry("d"), FileEntry(LongName(length), "1")}));
    for (const char* line : {"-tf a.qel", "-df a.qel", "-xf a.qel -R out"}) {
      const RunResult result = Run(line);
      EXPECT_EQ(result.status, 56) << line << length;
      EXPECT_NE(result.out.find("(error 56)"), std::string::npos) << result.out;
    }
  }
}

TEST_F(Names, ReadingRefusesWhatIsNotUtf8) {
  for (const char* name : {"\xFF", "a\x80", "\xC3", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80",
                           "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xE6\x97/x"}) {
    Write("a.qel", BuildArchive({FileEntry(name, "1")}));
    for (const char* line : {"-tf a.qel", "-df a.qel", "-xf a.qel -R out"}) {
      ExpectRun(line, Processing("a.qel") + "MOLDEX: could not convert from UTF8 string\n", 47);
    }
  }
}

TEST_F(Names, CreationReportsWhatIsNotUtf8AndGoesOn) {
  if (OnWindows()) GTEST_SKIP() << "names are UTF-16 there, and Wine makes some of any bytes";
  Make({{"d", DirectoryNode()},
        {"d/a", FileNode("1")},
        {"d/b\xFF", FileNode("1")},
        {"d/c\xC0\xAF/below", FileNode("1")},
        {"d/l", SymlinkNode("\xFE")},
        {"d/z", FileNode("1")}});
  const auto reported = [](const std::string& name, const std::string& bad) {
    return "MOLDEX: could not convert " + bad + " to UTF8.\nMOLDEX: inaccessible file " + name +
           "\n";
  };
  const std::string messages = reported("d/b\xFF", "d/b\xFF") +
                               reported("d/c\xC0\xAF", "d/c\xC0\xAF") + reported("d/l", "\xFE");
  ExpectRun("-crif a.qel d", messages, 44);
  EXPECT_EQ(NamesOf(Entries("a.qel")), (std::vector<std::string>{"d", "d/a", "d/z"}));
  ExpectRun("-crf b.qel d", messages, 44);
  EXPECT_FALSE(Exists("b.qel"));
  EXPECT_EQ(Run("-e -crif a.qel d").status, 44);
  EXPECT_TRUE(Bytes("moldex.log").ends_with("\nd/b\xFF\nd/c\xC0\xAF\nd/l\n"));
}

TEST_F(Names, AnEmptyNameIsListedButCannotBeExtracted) {
  Write("a.qel", BuildArchive({FileEntry("", "1")}));
  EXPECT_EQ(Run("-tf a.qel").status, 0);
  EXPECT_NE(Run("-xf a.qel").status, 0);
}

}  // namespace
}  // namespace moldex::test

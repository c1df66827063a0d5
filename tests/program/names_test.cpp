// Names: what an archive may call its entries, and where they end up; and symbolic links and
// shortcuts: followed, stored, made again, and refused where they lead out.
#include <set>

#include "program/program_test.h"

namespace moldex::test {
namespace {

using Names = ProgramTest;

std::string LongName(std::size_t length) {
  std::string name(length, 'n');
  name[length / 2] = '/';  // a part may have 255 bytes only
  return name;
}

// The file below "out" that an entry is written to, or the reason why it is left out.
constexpr char kClimbs[] = "name leaves the target directory (use -P to allow it): ";
constexpr char kNotAllowed[] = "name is not allowed on this system: ";

struct NameCase {
  std::string name;
  std::string becomes;
  std::string on_windows;
};

std::vector<NameCase> NameCases() {
  std::vector<NameCase> cases = {
      {"back\\slash", "back\\slash", "back/slash"},
      {"./x", "x", "x"},
      {"a/./x", "a/x", "a/x"},
      {"a//x", "a/x", "a/x"},
      // Absolute, which a target directory makes relative, and with something like a drive.
      {"/x/y", "x/y", "x/y"},
      {"//server/share/x", "server/share/x", "server/share/x"},
      {"ab:c", "ab:c", "c"},
      {"ab:C:x", "ab:C:x", kNotAllowed},
      {"//?/C:/x", "?/C:/x", kNotAllowed},
      {"\\\\.\\x", "\\\\.\\x", kNotAllowed},
      {std::string("cut\0/../../outside", 17), "cut", "cut"}};  // a zero ends the name
  for (const char* climbs :
       {"..", "../outside", "../../outside", "a/../outside", "a/..", "a/../../outside",
        "./../outside", "/../outside", "//../outside", "a//..//..//outside", "a/../"})
    cases.push_back({climbs, kClimbs, kClimbs});
  // With the separators of one system only.
  for (const char* climbs : {"..\\outside", "a\\..\\..\\outside", "a/..\\..\\outside",
                             "..\\../outside", "ab:../outside"})
    cases.push_back({climbs, climbs, kClimbs});
  // Names that Windows would take for something else, control characters among them.
  for (const char* odd : {"...", "x..", "m/Foo::Bar.3", "CON", "a/nul.txt", "a.", "a /b", "a?b*c",
                          "a\x01\x1B[2J\x7F", "a\nb\tc"})
    cases.push_back({odd, odd, kNotAllowed});
  for (const char* directory : {".", "x/", "a/."})
    cases.push_back({directory, kNotAllowed, kNotAllowed});
  // Names that only look like these, and UTF-8 of all lengths.
  for (const char* same :
       {"..x", "a/..b/x", "sp\xC3\xA4\xC3\x9F/\xE6\x97\xA5\xE6\x9C\xAC", "\xF0\x9F\x98\x80"})
    cases.push_back({same, same, same});
  return cases;
}

TEST_F(Names, ExtractionPutsEveryNameBelowItsTargetOrLeavesItOut) {
  const Tree outside = {{"outside", FileNode("must stay", 0640, 1000000000)},
                        {"base/outside", FileNode("must stay", 0640, 1000000000)}};
  for (const auto& [name, posix, on_windows] : NameCases()) {
    SCOPED_TRACE(name);
    const std::string& becomes = OnWindows() ? on_windows : posix;
    const bool left_out = becomes.starts_with("name ");
    Remove("base");
    Make(outside);
    Make({{"base/in/a.qel",
           FileNode(BuildArchive({FileEntry(name, "1"), FileEntry("after", "2")}))}});
    const RunResult result = RunProgram(Path("base/in"), {"-xf", "a.qel", "-R", "out"});
    const int code = becomes == kClimbs ? 55 : 59;
    EXPECT_EQ(result.status, left_out ? code : 0) << result.out;
    const std::string message = left_out ? Failure(becomes + name, code) : "";
    EXPECT_EQ(result.out, Processing("a.qel") + message + Extracted(left_out ? 1 : 2));
    std::set<std::string> files;
    for (const auto& [path, node] : Below("base/in/out"))
      if (node.kind == Kind::kFile) files.insert(path);
    EXPECT_EQ(files, (std::set<std::string>{"after", left_out ? "after" : becomes}));
    Tree all = Below(".");
    EXPECT_EQ(all["outside"], outside.at("outside"));
    EXPECT_EQ(all["base/outside"], outside.at("base/outside"));
    std::erase_if(all, [](const auto& item) { return item.first.starts_with("base/in/out"); });
    EXPECT_EQ(all.size(), 5U);  // nothing beside the archive and the target
  }
}

TEST_F(Names, OutsideTheTargetAreThoseThatAreAbsoluteOrAllowed) {
  const std::string place = Name("else/where");
  Archive({FileEntry(place, "1")});
  ExpectRun("-xf a.qel", Processing("a.qel") + Extracted(1), 0);
  EXPECT_EQ(Bytes("else/where"), "1");
  Remove("else");
  ExpectExtraction(Extracted(1));
  EXPECT_FALSE(Exists("else"));
  EXPECT_EQ(Bytes("out" + place), "1");
  Remove("out");
  // Wine's drive of this machine's files does not begin in the test's folder, as "C:" does here.
  const std::string drive = OnWindows() ? "Z:" + Name("") : "C:/";
  Archive({FileEntry(drive + "x/y", "2")});
  ExpectExtraction(Extracted(1));
  EXPECT_EQ(Bytes(OnWindows() ? "x/y" : "C:/x/y"), "2");
  EXPECT_FALSE(Exists("out"));
  Make({{"d", DirectoryNode(0755)}});
  Archive({FileEntry("../up", "3"), DirectoryEntry("../d", 040700), DirectoryEntry("in")});
  EXPECT_EQ(Run("-xf a.qel -R out").status, 55);
  EXPECT_EQ(Below("").at("d"), DirectoryNode(0755));
  Remove("d");
  ExpectRun("-xf a.qel -R out -P", Processing("a.qel") + Extracted(3), 0);
  EXPECT_EQ(Bytes("up"), "3");
  EXPECT_TRUE(std::filesystem::is_directory(Path("d")));
}

TEST_F(Names, OfTwoEntriesTheLaterCountsAndALinkBeforeAFile) {
  const QelEntry link = LinkEntry("x", "target");
  const QelEntry one = FileEntry("x", "1");
  const QelEntry two = FileEntry("x", "2", 0100600);
  const QelEntry folder = DirectoryEntry("x", 040755);
  const Tree second = AsExtracted({{"x", FileNode("2", 0600)}});
  const Tree kept_link = {{"x", SymlinkNode("target")}};
  const std::tuple<std::vector<QelEntry>, int, Tree> cases[] = {
      {{one, two}, 0, second},
      {{folder, DirectoryEntry("x", 040700)}, 0, AsExtracted({{"x", DirectoryNode(0700)}})},
      {{folder, FileEntry("x/y", "1"), two},
       28,
       AsExtracted({{"x", DirectoryNode(0700)}, {"x/y", FileNode("1")}})},
      {{two, folder}, 3, second},
      {{FileEntry("x", "1", 0100400), two}, 28, AsExtracted({{"x", FileNode("1", 0400)}})},
      {{one, link}, 0, kept_link},
      {{link, one}, 0, kept_link},
      {{FileEntry("x", "1", 0100400), link}, 28, {{"x", FileNode("1", 0400)}}},
      {{folder, link, FileEntry("y", "1")}, 28, {{"x", DirectoryNode()}, {"y", FileNode("1")}}}};
  for (const auto& [entries, status, tree] : cases) {
    if (tree == kept_link && LeftOutOnWindows("links: Wine makes none")) break;
    Remove("out");
    Archive(entries);
    EXPECT_EQ(Run("-xf a.qel -R out", User::kNobody).status, status);
    EXPECT_EQ(Below("out"), tree);
  }
}

TEST_F(Names, ThatDifferInCaseAreOneFileWhereTheSystemSaysSo) {
  Archive(
      {FileEntry("Name", "1"), FileEntry("nAME", "2"), DirectoryEntry("D"), FileEntry("d/x", "3")});
  ExpectExtraction(Extracted(4));
  EXPECT_EQ(Bytes("out/Name"), OnWindows() ? "2" : "1");
  EXPECT_EQ(Bytes(OnWindows() ? "out/D/x" : "out/d/x"), "3");
  EXPECT_EQ(Below("out").size(), OnWindows() ? 3U : 5U);
}

TEST_F(Names, CreationStoresNamesAsGivenWithoutRootAndDrive) {
  Make({{"x", FileNode("1")}, {"back/slash", FileNode("1")}});
  const std::string backslash = OnWindows() ? "back/slash" : "back\\slash";
  if (!OnWindows()) {
    for (const char* name : {"m/Foo::Bar.3", "C:/f", "C:g", "back\\slash"})
      Make({{name, FileNode("1")}});
  }
  const std::string absolute = Name("x");
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"./x", "./x", "./x"},
      {"back/../x", "back/../x", "back/../x"},
      {absolute, absolute.substr(1), absolute},
      {"back\\slash", backslash, backslash},
      {"m/Foo::Bar.3", "m/Foo::Bar.3", "m/Foo::Bar.3"},
      {"C:/f", "f", "C:/f"},
      {"C:g", "g", "C:g"}};
  for (const auto& [operand, stored, stored_with_p] : cases) {
    if (operand == "m/Foo::Bar.3" && LeftOutOnWindows("\":\" in names: no file can have it")) break;
    ExpectCreation(operand, {stored});
    ExpectCreation("-P " + operand, {stored_with_p});
  }
}

TEST_F(Names, Over260BytesOrEmptyAreRefusedWhenCreatingAndReading) {
  const std::string longest = LongName(260);
  const std::string over = LongName(261);
  Make({{longest, FileNode("1")}, {over, FileNode("2")}});
  ExpectCreation("-i " + over + " " + longest, {longest}, Inaccessible(over), 44);
  EXPECT_EQ(Run("-tf a.qel").status, 0);
  ExpectExtraction(Extracted(1));
  EXPECT_EQ(Bytes("out/" + longest), "1");
  for (const std::size_t length : {261U, 65534U}) {
    Archive({FileEntry(LongName(length), "1")});
    EXPECT_EQ(Run("-xf a.qel -R out").status, 56) << length;
  }
  Archive({FileEntry("", "1")});
  EXPECT_EQ(Run("-tf a.qel").status, 0);
  EXPECT_NE(Run("-xf a.qel").status, 0);
}

TEST_F(Names, CreationReportsWhatIsNotUtf8AndGoesOn) {
  if (OnWindows()) GTEST_SKIP() << "names are UTF-16 there, and Wine makes some of any bytes";
  for (const char* name : {"d/a", "d/b\xFF", "d/c\xC0\xAF/below", "d/z"})
    Make({{name, FileNode("1")}});
  Make({{"d/l", SymlinkNode("\xFE")}});
  const auto reported = [](const std::string& name, const std::string& bad) {
    return "MOLDEX: could not convert " + bad + " to UTF8.\n" + Inaccessible(name);
  };
  const std::string messages = reported("d/b\xFF", "d/b\xFF") +
                               reported("d/c\xC0\xAF", "d/c\xC0\xAF") + reported("d/l", "\xFE");
  ExpectCreation("-ri d", {"d", "d/a", "d/z"}, messages, 44);
  ExpectCreation("-r d", {}, messages, 44);
  EXPECT_EQ(Run("-e -crif a.qel d").status, 44);
  EXPECT_TRUE(Bytes("moldex.log").ends_with("\nd/b\xFF\nd/c\xC0\xAF\nd/l\n"));
}

constexpr char kWineMakesNone[] = "links: Wine makes none, and says that it does";
constexpr char kWineFollows[] = "Wine shows symbolic links as what they lead to";

using Links = ProgramTest;

TEST_F(Links, AreStoredWithTheirTargetsWhenTheyAreKept) {
  if (OnWindows()) GTEST_SKIP() << kWineFollows;
  Make({{"d/file", FileNode("content")},
        {"d/link", SymlinkNode("file")},
        {"d/nowhere", SymlinkNode("nöwhere")},
        {"d/up", SymlinkNode("..")},
        {"d/short.lnk", FileNode("shortcut bytes", 0640)}});
  ExpectCreation("-r d", {"d", "d/file", "d/link", "d/nowhere", "d/short.lnk", "d/up"});
  const auto entries = Entries("a.qel");
  QelEntry link = LinkEntry("d/link", "file");
  link.time_low = entries[2].time_low;
  EXPECT_EQ(EncodeEntry(entries[2]), EncodeEntry(link));
  EXPECT_EQ(entries[3].user_data, "nöwhere");
  EXPECT_EQ(entries[4].type, "SC");
  EXPECT_EQ(entries[4].mode, 0x1000u | 0640u);
  EXPECT_EQ(ContentOf(entries[4]), "shortcut bytes");
  ExpectExtraction(Extracted(6));
  EXPECT_EQ(Below("out/d"), Below("d"));
}

TEST_F(Links, ThatLeadOutOfTheTargetAreRefusedUnlessAllowed) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"l", "/etc/passwd", true},   {"l", "..", true},
      {"l", "a/../..", true},       {"d/l", "../..", true},
      {"d/l", "..", false},         {"d/e/l", "../../x", false},
      {"l", "a/../c", true},        {"l", ".../x", false},
      {"./d/./l", "../../x", true}, {"l", "x/../../inside", true},
      {"d//l", "../../x", true},    {"a/b:l", "../x", OnWindows()}};  // becomes "l" there
  for (const auto& [name, target, leaves] : cases) {
    Archive({LinkEntry(name, target), FileEntry("after", "1")});
    ExpectExtraction(leaves ? Leaves(name) + Extracted(1) : Extracted(2), leaves ? 55 : 0);
    EXPECT_EQ(Bytes("out/after"), "1");
    if (LeftOutOnWindows(kWineMakesNone)) continue;
    EXPECT_EQ(std::filesystem::is_symlink(Path(std::string("out/") + name)), !leaves) << target;
    ExpectRun("-x -P -f a.qel -R all", Processing("a.qel") + Extracted(2), 0);
    EXPECT_EQ(std::filesystem::read_symlink(Path(std::string("all/") + name)), target);
    Remove("out");
    Remove("all");
  }
}

TEST_F(Links, AreMadeAfterAllOtherEntries) {
  // Written in the archive's order, the file would go through the link.
  Make({{"out/target", DirectoryNode()}});
  Archive({LinkEntry("d", "target"), FileEntry("d/file", "content")});
  const RunResult result = Run("-xf a.qel -R out");
  EXPECT_TRUE(Below("out/target").empty()) << result.out;
  EXPECT_EQ(Bytes("out/d/file"), "content");
  if (LeftOutOnWindows("the link in the directory's place: Wine says that it made it")) return;
  EXPECT_EQ(result.status, 28) << result.out;  // a directory stands where the link should go
}

TEST_F(Links, BehindLinksOfAnotherArchiveLeadNowhereElse) {
  if (OnWindows()) GTEST_SKIP() << kWineMakesNone;
  // Every ".." alone is matched by a component in front of it, but that component is a link to ".".
  Write("1.qel",
        BuildArchive({LinkEntry("s", "."), LinkEntry("up", "s/.."), LinkEntry("top", "up/..")}));
  Write("2.qel", BuildArchive({FileEntry("top/stolen", "1"), FileEntry("s/inside", "2")}));
  Make({{"in/out", DirectoryNode()}});
  Run("-xf 1.qel,2.qel -R in/out");
  EXPECT_EQ(Bytes("in/out/inside"), "2");
  EXPECT_EQ(Bytes("in/out/top/stolen"), "1");
  EXPECT_FALSE(Exists("stolen") || Exists("in/stolen"));
}

TEST_F(Links, AreNotMadeThroughOtherLinks) {
  if (OnWindows()) GTEST_SKIP() << kWineMakesNone;
  // Each target alone stays inside; the second link, made through the first, would not.
  Archive({DirectoryEntry("a"), DirectoryEntry("a/b"), LinkEntry("a/b/c", "../.."),
           LinkEntry("a/b/c/l", "../../x")});
  ExpectExtraction(Leaves("a/b/c/l") + Extracted(3), 55);
  EXPECT_FALSE(std::filesystem::is_symlink(Path("out/l")));
}

TEST_F(Links, ThatCannotBeMadeAreReportedAndNothingElseIsLeftUndone) {
  if (OnWindows()) GTEST_SKIP() << kWineMakesNone;
  Archive({DirectoryEntry("d", 040700), LinkEntry("d/bad", "\xFF"), FileEntry("f", "1"),
           DirectoryEntry("d/taken", 040750), LinkEntry("d/taken", "../f"), LinkEntry("z", "f")});
  ExpectExtraction(Failure("link target can not be converted from UTF8: d/bad", 47) +
                       Failure("could not open for writing out/d/taken", 28, "File exists") +
                       Extracted(4),
                   28);
  EXPECT_EQ(Below("out"), (Tree{{"d", DirectoryNode(0700)},
                                {"d/taken", DirectoryNode(0750)},
                                {"f", FileNode("1")},
                                {"z", SymlinkNode("f")}}));
}

TEST_F(Links, WithoutTargetAreReportedAndLeftOut) {
  QelEntry sized = LinkEntry("l", "f");  // without data, whatever its size says
  sized.size_low = 9;
  QelEntry shortcut = sized;
  shortcut.type = "SC";
  const std::pair<QelEntry, int> cases[] = {{LinkEntry("l", ""), 45},
                                            {LinkEntry("l", std::string("f\0x", 3)), 45},
                                            {shortcut, 45},
                                            {sized, 0}};
  for (const auto& [link, status] : cases) {
    Archive({link, FileEntry("f", "1")});
    ExpectExtraction(
        status == 0 ? Extracted(2) : Failure("no link target for l", 45) + Extracted(1), status);
    ExpectRun("-df a.qel", Processing("a.qel") + Tested(2), 0);
  }
}

TEST_F(Links, OnDiskAreNoWayToTheirDirectoriesPermissions) {
  if (OnWindows()) GTEST_SKIP() << kWineFollows;
  Make({{"victim/e", DirectoryNode(0710)},
        {"out/d", SymlinkNode("../victim")},
        {"out/nowhere", SymlinkNode("missing")}});
  const Tree victim = Below("victim");
  for (const std::string name : {"d", "d/", "d/.", "./d", "d/e", "nowhere"}) {
    Archive({DirectoryEntry(name, 040777), FileEntry("f", "1")});
    EXPECT_EQ(Run("-xf a.qel -R out").status, 3) << name;
    EXPECT_EQ(Run("-h -xf a.qel -R out").status, name == "nowhere" ? 3 : 0) << name;
    EXPECT_EQ(Below("victim"), victim) << name;
  }
  for (const QelEntry& entry : {FileEntry("nowhere/f", "1"), DirectoryEntry("d/new")}) {
    Archive({entry});
    EXPECT_EQ(Run("-xf a.qel -R out").status, 3) << entry.name;
    EXPECT_EQ(Below("victim"), victim) << entry.name;
  }
}

TEST_F(Links, OnDiskAreReplacedByFilesAndLinks) {
  Make({{"other", FileNode("must stay")}, {"out", DirectoryNode()}});
  std::filesystem::create_hard_link(Path("other"), Path("out/f"));
  Archive({FileEntry("f", "new")});
  ExpectExtraction(Extracted(1));
  EXPECT_EQ(Bytes("other") + Bytes("out/f"), "must staynew");
  if (LeftOutOnWindows(kWineFollows)) return;
  Remove("out");
  Make({{"out/f", SymlinkNode("../other")}, {"out/l", SymlinkNode("../other")}});
  Archive({FileEntry("f", "new"), LinkEntry("l", "f")});
  ExpectExtraction(Extracted(2));
  EXPECT_EQ(Bytes("other"), "must stay");
  EXPECT_EQ(Below("out"), (Tree{{"f", FileNode("new")}, {"l", SymlinkNode("f")}}));
}

}  // namespace
}  // namespace moldex::test

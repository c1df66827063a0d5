// Names: what an archive may call its entries, and where they end up.
#include <filesystem>
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

TEST_F(Names, ExtractionRefusesToClimb) {
  const struct {
    std::string name;
    bool climbs;
  } cases[] = {{"..", true},        {"../x", true},   {"a/../x", true}, {"a/..", true},
               {"a/../../x", true}, {"./../x", true}, {"/../x", true},  {"a//../x", true},
               {"...", false},      {"..x", false},   {"x..", false},   {"a/..b/x", false}};
  for (const auto& [name, climbs] : cases) {
    SCOPED_TRACE(name);
    std::filesystem::remove_all(Path("base"));
    std::filesystem::create_directory(Path("base"));
    Write("base/a.qel", BuildArchive({FileEntry(name, "1"), FileEntry("behind", "2")}));
    const RunResult result = RunProgram(Path("base"), {"-xf", "a.qel", "-R", "out"});
    const std::string message =
        "MOLDEX: name leaves the target directory (use -P to allow it): " + name + " (error 55)";
    EXPECT_EQ(result.out.find(message) != std::string::npos, climbs) << result.out;
    // Windows would drop the dots at the end, and is not given such a name.
    const bool forbidden = OnWindows() && (name == "..." || name == "x..");
    EXPECT_EQ(result.status, climbs ? 55 : forbidden ? 59 : 0) << result.out;
    const std::string summary =
        "MOLDEX: " + std::to_string(climbs || forbidden ? 1 : 2) + " file(s) extracted\n";
    EXPECT_NE(result.out.find(summary), std::string::npos) << result.out;
    EXPECT_EQ(Bytes("base/out/behind"), "2");
    EXPECT_FALSE(Exists("base/x") || Exists("x") || Exists("base/out/x"));
  }
}

TEST_F(Names, ExtractionClimbsWithP) {
  Write("a.qel", BuildArchive({FileEntry("../x", "1"), DirectoryEntry("../d")}));
  ExpectRun("-xf a.qel -R out -P", Processing("a.qel") + Extracted(2), 0);
  EXPECT_EQ(Bytes("x"), "1");
  EXPECT_TRUE(std::filesystem::is_directory(Path("d")));
}

TEST_F(Names, ExtractionPutsNamesBelowItsTarget) {
  const struct {
    const char* name;
    const char* path;
    const char* windows_path = nullptr;  // where it differs; "" for a name that is refused
  } cases[] = {
      {"/x/y", "out/x/y"},  // a leading slash counts as relative
      {"m/Foo::Bar.3", "out/m/Foo::Bar.3", ""},
      {"ab:c", "out/ab:c", "out/c"},
      {"./x", "out/x"},
      {"back\\slash", "out/back\\slash", "out/back/slash"},
      {"sp\xC3\xA4\xC3\x9F/\xE6\x97\xA5\xE6\x9C\xAC",
       "out/sp\xC3\xA4\xC3\x9F/\xE6\x97\xA5\xE6\x9C\xAC"},
      {"\xF0\x9F\x98\x80", "out/\xF0\x9F\x98\x80"},
  };
  for (const auto& [name, path, windows_path] : cases) {
    std::filesystem::remove_all(Path("out"));
    Write("a.qel", BuildArchive({FileEntry(name, name)}));
    const std::string where = OnWindows() && windows_path != nullptr ? windows_path : path;
    if (where.empty()) {
      ExpectBegins("-xvf a.qel -R out", Processing("a.qel") + "MOLDEX: name is not allowed", 59);
      continue;
    }
    ExpectRun("-xvf a.qel -R out",
              Processing("a.qel") + "x " + name + "\nMOLDEX: 1 file(s) extracted\n", 0);
    EXPECT_TRUE(Exists(where) && Bytes(where) == name) << where;
  }
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

TEST_F(Names, CreationRefusesWhatIsNotUtf8) {
  if (OnWindows()) GTEST_SKIP() << "names are UTF-16 there, and Wine makes some of any bytes";
  Make({{"\xFF", FileNode("1")}});
  ExpectRun("-cf a.qel \xFF", "MOLDEX: could not convert \xFF to UTF8.\n", 47);
}

TEST_F(Names, AnEmptyNameIsListedButCannotBeExtracted) {
  Write("a.qel", BuildArchive({FileEntry("", "1")}));
  EXPECT_EQ(Run("-tf a.qel").status, 0);
  EXPECT_NE(Run("-xf a.qel").status, 0);
}

}  // namespace
}  // namespace moldex::test

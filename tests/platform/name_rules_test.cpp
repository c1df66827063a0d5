// Names as text, by the rules of both systems on both.
#include "platform/name_rules.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/long_name.h"

namespace moldex::test {
namespace {

TEST(NameRules, WindowsRefusesWhatItWouldTurnIntoSomethingElse) {
  for (const char* name : {"CON",
                           "con",
                           "Nul",
                           "PRN",
                           "AUX",
                           "CONIN$",
                           "conout$",
                           "CON.txt",
                           "nul.tar.gz",
                           "aux .c",
                           "COM0",
                           "COM1",
                           "com9.log",
                           "LPT0",
                           "lpt9",
                           "COM\xC2\xB9",
                           "LPT\xC2\xB2.x",
                           "com\xC2\xB3",
                           "COM\xB9",
                           "a/CON",
                           "CON/a",
                           "a\\nul\\b",
                           "C:/x/PRN",
                           "CON.",
                           "a.",
                           "a ",
                           "a/b./c",
                           "...",
                           "a/... /b",
                           " ",
                           "a/b:c",
                           "C:x:y",
                           "C:/x:$DATA",
                           "1:/x",
                           "ab:/x",
                           ":x",
                           "a<b",
                           "a>b",
                           "a\"b",
                           "a|b",
                           "a?",
                           "*",
                           "a/b*c",
                           "tab\t",
                           "\x01",
                           "a\x1F/b"}) {
    EXPECT_FALSE(IsAllowedName(PathRules::kWindows, name)) << name;
    EXPECT_TRUE(IsAllowedName(PathRules::kPosix, name)) << name;
  }
}

TEST(NameRules, WindowsTakesWhatOnlyLooksLikeIt) {
  for (const char* name : {"",
                           "/",
                           "a",
                           "a.b",
                           ".a",
                           " a",
                           "a b",
                           "..",
                           ".",
                           "./a/../b",
                           "a//b",
                           "a\\b/c",
                           "C:",
                           "C:/",
                           "c:\\x",
                           "C:x",
                           "CONE",
                           "CON1",
                           "XCON",
                           "COM",
                           "COM10",
                           "COMA",
                           "LPT\xC3\xA4",
                           "CONIN",
                           "CON$",
                           "a.CON",
                           "NUL-1",
                           "nulls",
                           "\xC3\xA4.txt",
                           "\x7F",
                           "+,;=[]&^%$#@!~`'{}"}) {
    EXPECT_TRUE(IsAllowedName(PathRules::kWindows, name)) << name;
  }
}

TEST(NameRules, AShortcutIsKnownByItsEnding) {
  const struct {
    const char* name;
    bool posix;
    bool windows;
  } cases[] = {{"a.lnk", true, true},    {"A.LNK", false, true},      {"d/a.Lnk", false, true},
               {"lnk", false, false},    {"a.lnk.txt", false, false}, {".lnk", true, true},
               {"a.lnk/b", false, false}};
  for (const auto& [name, posix, windows] : cases) {
    EXPECT_EQ(IsShortcutName(PathRules::kPosix, name), posix) << name;
    EXPECT_EQ(IsShortcutName(PathRules::kWindows, name), windows) << name;
  }
}

TEST(LongNames, AreAbsoluteWithBackslashesAndNothingLeftToResolve) {
  const struct {
    const char* path;
    const char* form;
  } cases[] = {{"", ""},
               {"a", R"(\\?\C:\work\a)"},
               {"a/b\\c", R"(\\?\C:\work\a\b\c)"},
               {"/a", R"(\\?\C:\work\a)"},
               {"./a/.", R"(\\?\C:\work\a)"},
               {"a/", R"(\\?\C:\work\a)"},
               {"a//b", R"(\\?\C:\work\a\b)"},
               {"../a", R"(\\?\C:\a)"},
               {"../../../a", R"(\\?\C:\a)"},
               {"a/../b", R"(\\?\C:\work\b)"},
               {".", R"(\\?\C:\work)"},
               {"..", R"(\\?\C:\)"},
               {"/", R"(\\?\C:\)"},
               {"D:/x/y", R"(\\?\D:\x\y)"},
               {"D:/x/../../y", R"(\\?\D:\y)"},
               {"D:/", R"(\\?\D:\)"},
               {"D:", R"(\\?\D:\)"},
               {R"(\\?\D:\as it\is.)", R"(\\?\D:\as it\is.)"},
               {"//server/share/a/../b", R"(\\?\UNC\server\share\b)"},
               {"//./.", R"(\\?\UNC)"},
               {R"(\\server\share\..\..\b)", R"(\\?\UNC\server\share\b)"}};
  for (const auto& [path, form] : cases) {
    EXPECT_EQ(LongNameForm(path, R"(C:\work)"), form) << path;
    EXPECT_EQ(LongNameForm(form, R"(E:\elsewhere)"), form) << "once more: " << path;
  }
  EXPECT_EQ(LongNameForm("a", "C:\\"), R"(\\?\C:\a)");
  EXPECT_EQ(LongNameForm("../a", R"(\\server\share\work)"), R"(\\?\UNC\server\share\a)");
}

TEST(LongNames, MayBeOfAnyLength) {
  std::string path = "C:";
  for (int i = 0; i < 500; ++i)
    path += "/component";
  EXPECT_EQ(LongNameForm(path, "D:\\").size(), path.size() + 4);
}

}  // namespace
}  // namespace moldex::test

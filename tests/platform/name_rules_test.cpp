// Names as text, under the rules of both systems on both.
#include "base/name_rules.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "base/path_rules.h"
#include "platform/long_name.h"

namespace moldex::test {
namespace {

constexpr PathRules kPosix = PathRules::kPosix;
constexpr PathRules kWindows = PathRules::kWindows;

// A name, and what becomes of it, or what it is, under either system's rules.
using NamePair = std::tuple<const char*, const char*, const char*>;
using Judged = std::tuple<const char*, bool, bool>;

template <typename Cases, typename Function>
void ExpectUnderBothRules(const Cases& cases, Function function) {
  for (const auto& [name, posix, windows] : cases) {
    EXPECT_EQ(function(kPosix, name), posix) << name;
    EXPECT_EQ(function(kWindows, name), windows) << name;
  }
}

TEST(PathRules, StoredNamesAreRelative) {
  const NamePair cases[] = {{"a/b", "a/b", "a/b"},
                            {"a\\b", "a\\b", "a/b"},
                            {"///a//b", "a//b", "a//b"},
                            {"\\\\server\\share\\a", "\\\\server\\share\\a", "server/share/a"},
                            {"C:/a", "a", "a"},
                            {"C:a", "a", "a"},
                            {"C:\\a", "\\a", "a"},
                            {"a///", "a", "a"},
                            {"a\\", "a\\", "a"},
                            {"./a", "./a", "./a"},
                            {"a/../b", "a/../b", "a/../b"},
                            {"///", "", ""},
                            {"\\", "\\", ""},
                            {"C:", "", ""},
                            {"", "", ""},
                            {R"(\\?\C:\a)", R"(\\?\C:\a)", "a"},
                            {"//?/C:/a", "?/C:/a", "a"},
                            {R"(\\.\C:\a)", R"(\\.\C:\a)", "a"},
                            {R"(\\?\unc\s\h\a)", R"(\\?\unc\s\h\a)", "s/h/a"},
                            {"ab:c", "ab:c", "ab:c"}};
  ExpectUnderBothRules(cases, [](auto rules, auto name) { return StoredName(rules, name, false); });
}

TEST(PathRules, TargetDirectoryGoesInFrontOfRelativeNames) {
  const char* const cases[][4] = {{"", "x:a", "x:a", "x:a"},
                                  {"out", "a", "out/a", "out/a"},
                                  {"out\\", "a", "out\\/a", "out/a"},
                                  {"o\\p", "a", "o\\p/a", "o/p/a"},
                                  {"out", "/a", "out//a", "out//a"},
                                  {"out", "/", "/", "/"},
                                  {"out", "", "", ""},
                                  {"out", "C:/a", "C:/a", "C:/a"},
                                  {"out", "ab:c", "out/ab:c", "out/c"},
                                  {"out", "ab:c:d", "out/ab:c:d", "out/c:d"}};
  for (const auto& [target, name, posix, windows] : cases) {
    EXPECT_EQ(TargetName(kPosix, target, name), posix) << target << ' ' << name;
    EXPECT_EQ(TargetName(kWindows, target, name), windows) << target << ' ' << name;
  }
}

TEST(PathRules, ParentComponentsAreFoundAtEveryPlace) {
  const Judged cases[] = {
      {"..", true, true},          {"../a", true, true},     {"a/..", true, true},
      {"a/../b", true, true},      {"/..", true, true},      {"../", true, true},
      {"a//..//b", true, true},    {"..\\a", false, true},   {"a\\..", false, true},
      {"a\\..\\b", false, true},   {"a/..\\b", false, true}, {"a\\../b", false, true},
      {"...", false, false},       {"a..", false, false},    {"..a", false, false},
      {"a/..b/c..", false, false}, {".", false, false},      {"./.", false, false},
      {". .", false, false},       {"", false, false},       {"/", false, false}};
  ExpectUnderBothRules(cases, HasParentComponent);
}

TEST(PathRules, NormalisedNamesAreOneSpelling) {
  const NamePair cases[] = {{"./a//b/./c///", "a/b/c", "a/b/c"},
                            {"a\\.\\b", "a\\.\\b", "a/b"},
                            {".\\a\\", ".\\a\\", "a"},
                            {"///a", "/a", "/a"},
                            {"\\a", "\\a", "/a"},
                            {".", "", ""},
                            {"", "", ""},
                            {".a/..", ".a/..", ".a/.."},
                            {"../a", "../a", "../a"},
                            {"C:\\a", "C:\\a", "C:/a"}};
  ExpectUnderBothRules(cases, NormalisedName);
  for (const auto& [name, once, windows] : cases)
    EXPECT_EQ(NormalisedName(kPosix, once), once) << "normalised twice: " << name;
}

TEST(PathRules, PatternsMatchWholeNamesAndAPointInFrontByAPointOnly) {
  // Pairs "pattern:name".
  const char kMatches[] =
      ": *: a?c:abc a*c:abcbc *ab*ab:abab a*b*c*d:axbxcxbcd [a]:[a] a\\*:a\\b .*:.a .?:.a .*:. "
      "*.a:b.a "
      "..*:..a a?:a\xC3\xB6 a?:a\xE2\x82";
  const char kOthers[] =
      "?: a*c:abcb *.qel:aqel *.qel:a.qel.b *ab*ab:ab *?*?*:a abc:ab *:.a ?a:.a *a:.a *:. .*:a "
      "?.a:..a "
      ":.a *.*:.a";
  const char kMatchOnWindows[] = "A:a *.*:a *.TXT:a.txt";
  for (const auto& [pairs, posix, windows] : {std::tuple(kMatches, true, true),
                                              {kOthers, false, false},
                                              {kMatchOnWindows, false, true}}) {
    std::istringstream words(pairs);
    for (std::string pair; words >> pair;) {
      const std::string pattern = pair.substr(0, pair.find(':'));
      const std::string name = pair.substr(pattern.size() + 1);
      EXPECT_EQ(MatchesPattern(kPosix, pattern, name), posix) << pair;
      EXPECT_EQ(MatchesPattern(kWindows, pattern, name), windows) << pair;
    }
  }
}

// In a code page like Shift-JIS, where "\x95\\" and "\x83|" and "\x83" "A" are one character each.
TEST(PathRules, SecondBytesOfACharacterAreNoSeparatorsAndNoLetters) {
  PathRules rules = kWindows;
  rules.begins_double_byte = [](char byte) { return byte == '\x83' || byte == '\x95'; };
  const std::string name = "a\\\x95\\b\\\x83|\x95\\";
  EXPECT_EQ(WithSlashes(rules, name), "a/\x95\\b/\x83|\x95\\");
  EXPECT_EQ(LastComponent(rules, name), "\x83|\x95\\");
  EXPECT_EQ(NormalisedName(rules, "\x95\\\\.\\b"), "\x95\\/b");
  EXPECT_EQ(StoredName(rules, "C:\\\x95\\", false), "\x95\\");
  EXPECT_FALSE(EndsWithSeparator(rules, name));
  EXPECT_TRUE(IsAllowedName(rules, name));
  EXPECT_FALSE(IsAllowedName(rules, "\x83||"));
  EXPECT_EQ(LowerAscii(rules,
                       "A\x83"
                       "AB"),
            "a\x83"
            "Ab");
  EXPECT_TRUE(LinkLeaves(rules, "\x95\\l", ".."));
  rules.begins_double_byte = nullptr;
  EXPECT_FALSE(IsAllowedName(rules, name));
}

TEST(PathRules, ManyStarsDoNotTakeExponentialTime) {
  std::string pattern;
  for (int i = 0; i < 1000; ++i)
    pattern += "a*";
  EXPECT_FALSE(MatchesPattern(kPosix, pattern + "b", std::string(5000, 'a')));
}

TEST(NameRules, WindowsRefusesWhatItWouldTurnIntoSomethingElse) {
  const std::vector<const char*> refused[] = {
      {"CON", "con", "Nul", "PRN", "AUX", "CONIN$", "conout$", "CON.txt", "nul.tar.gz", "aux .c"},
      {"COM0", "COM1", "com9.log", "LPT0", "lpt9", "COM\xC2\xB9", "LPT\xC2\xB2.x", "com\xC2\xB3",
       "COM\xB9"},
      {"a/CON", "CON/a", "a\\nul\\b", "C:/x/PRN", "CON."},
      {"a.", "a ", "a/b./c", "...", "a/... /b", " "},           // ends that it drops
      {"a/b:c", "C:x:y", "C:/x:$DATA", "1:/x", "ab:/x", ":x"},  // streams of a file
      {"a<b", "a>b", "a\"b", "a|b", "a?", "*", "a/b*c"},        // patterns
      {"//./x", "\\\\.\\x", "//?/C:/x", "\\\\?\\C:\\x", "/\\./x",
       "//."},  // go to the system unread
      {"tab\t", "\x01", "a\x1F/b"}};
  for (const auto& kind : refused) {
    for (const char* name : kind) {
      EXPECT_FALSE(IsAllowedName(kWindows, name)) << name;
      EXPECT_TRUE(IsAllowedName(kPosix, name)) << name;
    }
  }
}

TEST(NameRules, WindowsTakesWhatOnlyLooksLikeIt) {
  const std::vector<const char*> taken[] = {
      {"", "/", "a", "a.b", ".a", " a", "a b", "..", ".", "./a/../b", "a//b", "a\\b/c"},
      {"C:", "C:/", "c:\\x", "C:x", "\xC3\xA4.txt", "\x7F", "+,;=[]&^%$#@!~`'{}"},
      {"CONE", "CON1", "XCON", "COM", "COM10", "COMA", "LPT\xC3\xA4", "CONIN", "CON$", "a.CON",
       "NUL-1", "nulls"}};
  for (const auto& kind : taken) {
    for (const char* name : kind)
      EXPECT_TRUE(IsAllowedName(kWindows, name)) << name;
  }
}

TEST(LongNames, AreAbsoluteWithBackslashesAndNothingLeftToResolve) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"", L""},
      {L"a", LR"(\\?\C:\work\a)"},
      {L"a/b\\c", LR"(\\?\C:\work\a\b\c)"},
      {L"/a", LR"(\\?\C:\work\a)"},
      {L"./a/.", LR"(\\?\C:\work\a)"},
      {L"a/", LR"(\\?\C:\work\a)"},
      {L"a//b", LR"(\\?\C:\work\a\b)"},
      {L"../a", LR"(\\?\C:\a)"},
      {L"../../../a", LR"(\\?\C:\a)"},
      {L"a/../b", LR"(\\?\C:\work\b)"},
      {L".", LR"(\\?\C:\work)"},
      {L"..", LR"(\\?\C:\)"},
      {L"/", LR"(\\?\C:\)"},
      {L"D:/x/y", LR"(\\?\D:\x\y)"},
      {L"D:/x/../../y", LR"(\\?\D:\y)"},
      {L"D:/", LR"(\\?\D:\)"},
      {L"D:", LR"(\\?\D:\)"},
      {LR"(\\?\D:\as it\is.)", LR"(\\?\D:\as it\is.)"},
      {L"//server/share/a/../b", LR"(\\?\UNC\server\share\b)"},
      {L"//./.", LR"(\\?\)"},
      {LR"(\\.\D:\x/../y)", LR"(\\?\D:\y)"},
      {L"//?/UNC/server/share", LR"(\\?\UNC\server\share)"},
      {LR"(\\server\share\..\..\b)", LR"(\\?\UNC\server\share\b)"}};
  for (const auto& [path, form] : cases) {
    EXPECT_EQ(LongNameForm(path, LR"(C:\work)"), form) << testing::PrintToString(path);
    EXPECT_EQ(LongNameForm(form, LR"(E:\elsewhere)"), form) << testing::PrintToString(path);
  }
  EXPECT_EQ(LongNameForm(L"a", L"C:\\"), LR"(\\?\C:\a)");
  EXPECT_EQ(LongNameForm(L"../a", LR"(\\server\share\work)"), LR"(\\?\UNC\server\share\a)");
}

}  // namespace
}  // namespace moldex::test

// Names as text, under the rules of both systems.
#include "platform/path_rules.h"

#include <gtest/gtest.h>

#include <string>

namespace moldex::test {
namespace {

constexpr PathRules kPosix = PathRules::kPosix;
constexpr PathRules kWindows = PathRules::kWindows;

// A name, and what becomes of it under either system's rules.
struct NamePair {
  const char* name;
  const char* posix;
  const char* windows;
};

template <typename Cases, typename Function>
void ExpectUnderBothRules(const Cases& cases, Function function) {
  for (const auto& c : cases) {
    EXPECT_EQ(function(kPosix, c.name), c.posix) << c.name;
    EXPECT_EQ(function(kWindows, c.name), c.windows) << c.name;
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
                            {"ab:c", "ab:c", "ab:c"}};
  ExpectUnderBothRules(cases, [](auto rules, auto name) { return StoredName(rules, name, false); });
}

TEST(PathRules, AbsoluteNamesAreStoredAsGivenButForSeparators) {
  const NamePair cases[] = {{"/a/b", "/a/b", "/a/b"}, {"C:\\a\\b", "C:\\a\\b", "C:/a/b"},
                            {"//a", "//a", "//a"},    {"a//", "a", "a"},
                            {"//", "/", "/"},         {"\\\\s\\", "\\\\s\\", "//s"}};
  ExpectUnderBothRules(cases, [](auto rules, auto name) { return StoredName(rules, name, true); });
}

TEST(PathRules, TargetDirectoryGoesInFrontOfRelativeNames) {
  struct {
    const char* target;
    const char* name;
    const char* posix;
    const char* windows;
  } const cases[] = {{"", "x:a", "x:a", "x:a"},
                     {"out", "a", "out/a", "out/a"},
                     {"out\\", "a", "out\\/a", "out/a"},
                     {"o\\p", "a", "o\\p/a", "o/p/a"},
                     {"out", "/a", "out//a", "out//a"},
                     {"out", "/", "/", "/"},
                     {"out", "", "", ""},
                     {"out", "C:/a", "C:/a", "C:/a"},
                     {"out", "ab:c", "out/ab:c", "out/c"},
                     {"out", "ab:c:d", "out/ab:c:d", "out/c:d"}};
  for (const auto& c : cases) {
    EXPECT_EQ(TargetName(kPosix, c.target, c.name), c.posix) << c.target << ' ' << c.name;
    EXPECT_EQ(TargetName(kWindows, c.target, c.name), c.windows) << c.target << ' ' << c.name;
  }
}

// What a name is, under either system's rules.
struct Judged {
  const char* name;
  bool posix;
  bool windows;
};

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

TEST(PathRules, AbsolutePathsNeedNoCurrentDirectory) {
  const Judged cases[] = {{"/", true, true},      {"/a", true, true},   {"//a", true, true},
                          {"\\a", false, true},   {"C:", false, true},  {"C:/a", false, true},
                          {"C:\\a", false, true}, {"a", false, false},  {"./a", false, false},
                          {"", false, false},     {":a", false, false}, {"ab:c", false, false}};
  ExpectUnderBothRules(cases, IsAbsolutePath);
}

TEST(PathRules, OnlyDrivesAndTheRootAreNotRelative) {
  for (const char* name : {"a", "/a", "//", "\\", ":", "ab:", "ab:c", "..", "\xC3\xA4:"}) {
    EXPECT_TRUE(IsRelative(name)) << name;
  }
  for (const char* name : {"", "/", "C:", "C:a", "::", "1:/a"}) {
    EXPECT_FALSE(IsRelative(name)) << name;
  }
}

TEST(PathRules, LastComponentsEndAtTheSystemsSeparators) {
  const NamePair cases[] = {
      {"", "", ""},         {"a", "a", "a"},       {"a/b", "b", "b"},       {"/", "", ""},
      {"a/", "", ""},       {"a\\b", "a\\b", "b"}, {"a/b\\c", "b\\c", "c"}, {"a\\b/c", "c", "c"},
      {"C:a", "C:a", "C:a"}};
  ExpectUnderBothRules(cases, LastComponent);
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
  for (const NamePair& c : cases)
    EXPECT_EQ(NormalisedName(kPosix, c.posix), c.posix) << "normalised twice: " << c.name;
}

TEST(PathRules, JoinedPathsHaveOneSlashBetween) {
  const char* const cases[][3] = {{"a", "b", "a/b"}, {"a/", "b", "a/b"}, {"a", "/b", "a/b"},
                                  {"", "b", "b"},    {"a", "", "a"},     {"", "", ""},
                                  {"/", "b", "/b"},  {"", "/b", "/b"}};
  for (const auto& c : cases)
    EXPECT_EQ(JoinPath(c[0], c[1]), c[2]) << c[0] << ' ' << c[1];
}

struct Match {
  const char* pattern;
  const char* name;
  bool matches;
};

TEST(PathRules, PatternsMatchWholeNames) {
  const Match cases[] = {{"", "", true},           {"*", "", true},
                         {"?", "", false},         {"a?c", "abc", true},
                         {"a*c", "abcbc", true},   {"a*c", "abcb", false},
                         {"*.qel", "aqel", false}, {"*.qel", "a.qel.b", false},
                         {"*ab*ab", "abab", true}, {"*ab*ab", "ab", false},
                         {"*?*?*", "a", false},    {"a*b*c*d", "axbxcxbcd", true},
                         {"A", "a", false},        {"[a]", "[a]", true},
                         {"a\\*", "a\\b", true},   {"abc", "ab", false}};
  for (const Match& c : cases)
    EXPECT_EQ(MatchesPattern(c.pattern, c.name), c.matches) << c.pattern << ' ' << c.name;
}

TEST(PathRules, APointThatBeginsTheNameIsMatchedByAPointOnly) {
  const Match cases[] = {{"*", ".a", false},    {"?a", ".a", false}, {"*a", ".a", false},
                         {"*", ".", false},     {".*", ".a", true},  {".?", ".a", true},
                         {".*", "a", false},    {".*", ".", true},   {"*.a", "b.a", true},
                         {"?.a", "..a", false}, {"", ".a", false},   {"..*", "..a", true}};
  for (const Match& c : cases)
    EXPECT_EQ(MatchesPattern(c.pattern, c.name), c.matches) << c.pattern << ' ' << c.name;
}

TEST(PathRules, ManyStarsDoNotTakeExponentialTime) {
  std::string pattern;
  for (int i = 0; i < 1000; ++i)
    pattern += "a*";
  EXPECT_FALSE(MatchesPattern(pattern + "b", std::string(5000, 'a')));
}

}  // namespace
}  // namespace moldex::test

// What the words of the command line mean where running the program does not show it.
#include "run/options.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "report/except.h"
#include "support/run_program.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

// A parsed command line and the words that its options point into.
class Parsed {
 public:
  explicit Parsed(Words words) : words_(std::move(words)) {
    words_.insert(words_.begin(), "moldex");
    for (std::string& word : words_)
      arguments_.push_back(word.data());
    options.Parse(static_cast<int>(arguments_.size()), arguments_.data());
  }
  explicit Parsed(const char* line) : Parsed(SplitAtBlanks(line)) {}

  CCmdLineOptions options;

 private:
  Words words_;
  std::vector<char*> arguments_;
};

TEST(Options, PermissionsAreReadAsOctalDigitsUpToTheFirstOther) {
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"644", 0644},     {"0644", 0644}, {"0", 0},     {"7777", 07777}, {"6448", 0644},
      {"644x", 0644},    {" 17", 017},   {"+17", 017}, {"1 7", 1},      {"37777777777", UINT32_MAX},
      {"-1", UINT32_MAX}};
  for (const auto& [text, value] : cases) {
    const Parsed parsed({"-p", text});
    EXPECT_EQ(parsed.options.permission_value, value) << text;
    EXPECT_STREQ(parsed.options.permission_text, text);
  }
  for (const char* text : {"", "8", "x7", "-", "+-1", " "})
    EXPECT_THROW(Parsed({"-p", text}), CExcept) << text;
  const Parsed missing("-p");
  EXPECT_EQ(missing.options.permission_text, nullptr);
}

TEST(Options, AccessControlAndLongNamesGoTogether) {
  for (const bool acl : {false, true}) {
    for (const bool long_names : {false, true}) {
      Parsed parsed("-c name");
      parsed.options.acl = acl;
      parsed.options.long_names = long_names;
      int code = 0;
      try {
        parsed.options.CheckOptions();
      } catch (const CExcept& failure) {
        code = failure.code();
      }
      EXPECT_EQ(code, acl == long_names ? 0 : acl ? 49 : 51);
    }
  }
}

TEST(Options, ListedNamesExcludeWhatIsBelowThemToo) {
  const TempDir folder;
  const std::string list = (folder.Path() / "list").string();
  WriteFile(list, "zz\n./a//b/\n/abs\nc*\n..\n");
  Parsed parsed({"-c", "x", "-X", list});
  parsed.options.ReadNameLists();
  for (const char* name : {"zz", "a/b", "./a/b", "a//b", "a/b/", "a/b/c/d", "/abs", "//abs/x", "c*",
                           "../x", "zz/.x"}) {
    EXPECT_TRUE(parsed.options.IsExcluded(name)) << name;
  }
  for (const char* name :
       {"a", "b", "a/bc", "a/c", "x/a/b", "abs", "/a/b", "cc", "z", "zzz", "", "/", "A/b", "..x"}) {
    EXPECT_FALSE(parsed.options.IsExcluded(name)) << name;
  }
}

TEST(Options, OnlyListedNamesAreRenamed) {
  const TempDir folder;
  const std::string list = (folder.Path() / "list").string();
  WriteFile(list, "./a//b/ ./new//name/\nspace d | e f\n/abs x\n");
  Parsed parsed({"-c", "-T", list});
  parsed.options.ReadNameLists();
  const std::pair<const char*, const char*> cases[] = {
      {"a/b", "new/name"}, {"./a/b", "new/name"}, {"a/b/", "new/name"},
      {"space d", "e f"},  {"/abs", "x"},         {"a", "a"},
      {"a/b/c", "a/b/c"},  {"./z//y", "./z//y"},  {"new/name", "new/name"}};
  for (const auto& [name, renamed] : cases)
    EXPECT_EQ(parsed.options.Renamed(name), renamed) << name;
}

}  // namespace
}  // namespace moldex::test

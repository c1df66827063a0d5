// What the words of the command line set, field by field.
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

using Flag = bool CCmdLineOptions::*;

constexpr Flag kFlags[] = {&CCmdLineOptions::verbose,
                           &CCmdLineOptions::space_check,
                           &CCmdLineOptions::absolute_paths,
                           &CCmdLineOptions::checksum,
                           &CCmdLineOptions::resolve_links,
                           &CCmdLineOptions::ignore_inaccessible,
                           &CCmdLineOptions::statistics,
                           &CCmdLineOptions::set_directory_permissions,
                           &CCmdLineOptions::ignore_case,
                           &CCmdLineOptions::redirect_output,
                           &CCmdLineOptions::lower_case,
                           &CCmdLineOptions::flat,
                           &CCmdLineOptions::acl,
                           &CCmdLineOptions::long_names};

TEST(Options, EachFlagWordChangesItsFlagAlone) {
  const std::pair<const char*, Flag> cases[] = {
      {"-v", &CCmdLineOptions::verbose},        {"-s", &CCmdLineOptions::space_check},
      {"-P", &CCmdLineOptions::absolute_paths}, {"-V", &CCmdLineOptions::checksum},
      {"-r", &CCmdLineOptions::resolve_links},  {"-i", &CCmdLineOptions::ignore_inaccessible},
      {"-n", &CCmdLineOptions::statistics},     {"-h", &CCmdLineOptions::set_directory_permissions},
      {"-g", &CCmdLineOptions::ignore_case},    {"-e", &CCmdLineOptions::redirect_output},
      {"-lower", &CCmdLineOptions::lower_case}, {"-flat", &CCmdLineOptions::flat},
      {"-cg", &CCmdLineOptions::ignore_case},   {"-tvt", &CCmdLineOptions::verbose}};
  const CCmdLineOptions defaults;
  for (const auto& [line, changed] : cases) {
    const Parsed parsed(line);
    for (const Flag flag : kFlags)
      EXPECT_EQ(parsed.options.*flag != defaults.*flag, flag == changed) << line;
  }
}

TEST(Options, LettersAfterAWordsFirstAreNoWord) {
  const Parsed acl("-acl");
  EXPECT_EQ(acl.options.command_code, kCommandScan);
  EXPECT_FALSE(acl.options.acl);
  const Parsed group("-vsgir -");
  EXPECT_EQ(group.options.command_code, kNoCommand);
  EXPECT_TRUE(group.options.verbose && group.options.space_check && group.options.ignore_case);
  EXPECT_TRUE(group.options.ignore_inaccessible && !group.options.resolve_links);
  const Parsed lone({"-", "", " -c", "a b"});
  EXPECT_EQ(lone.options.file_names, (Words{"", " -c", "a b"})) << "words that begin otherwise";
  EXPECT_EQ(lone.options.command_code, kNoCommand);
}

TEST(Options, EveryCommandLetterHasItsNumberAndTheLastWins) {
  const std::pair<const char*, int> cases[] = {{"-c", 1},    {"-d", 2},    {"-x", 3},    {"-t", 4},
                                               {"-a", 5},    {"-m", 6},    {"-l", 7},    {"-cx", 3},
                                               {"-x -c", 1}, {"-flat", 0}, {"-f lat", 0}};
  for (const auto& [line, code] : cases)
    EXPECT_EQ(Parsed(line).options.command_code, code) << line;
}

TEST(Options, FileWordsTakeTheNextArgument) {
  const Parsed parsed("one -A a -X x -T t -C c -R r -f f two -cv -p 644");
  const CCmdLineOptions& options = parsed.options;
  EXPECT_STREQ(options.include_file, "a");
  EXPECT_STREQ(options.exclude_file, "x");
  EXPECT_STREQ(options.rename_file, "t");
  EXPECT_STREQ(options.change_directory, "c");
  EXPECT_STREQ(options.target_directory, "r");
  EXPECT_STREQ(options.archive_value, "f");
  EXPECT_EQ(options.file_names, (Words{"one", "two"}));
}

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
  const auto code_of = [](bool acl, bool long_names) {
    Parsed parsed("-c name");
    parsed.options.acl = acl;
    parsed.options.long_names = long_names;
    try {
      parsed.options.CheckOptions();
    } catch (const CExcept& failure) {
      return failure.code();
    }
    return 0;
  };
  EXPECT_EQ(code_of(false, false), 0);
  EXPECT_EQ(code_of(true, false), 49);
  EXPECT_EQ(code_of(false, true), 51);
  EXPECT_EQ(code_of(true, true), 0);
}

TEST(Options, AListOfNewNamesThatStandsAloneSaysWhichFilesAreMeant) {
  const std::pair<const char*, Words> cases[] = {{"-c -T t", {"a", "b"}},
                                                 {"-c z -T t", {"z", "a", "b"}},
                                                 {"-c -T t -A i", {"listed"}},
                                                 {"-a z -T t", {"z"}}};
  for (const auto& [line, names] : cases) {
    Parsed parsed(line);
    parsed.options.rename_map = {{"b", "1"}, {"a", "2"}};
    if (parsed.options.include_file != nullptr) parsed.options.include_names = {"listed"};
    parsed.options.CheckOptions();
    EXPECT_EQ(parsed.options.NameList(), names) << line;
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

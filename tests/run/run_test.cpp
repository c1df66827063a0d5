// The meaning of command-line words where a run of the program does not show it: options, list
// files line by line, and the archives that the value of -f names.
#include "report/except.h"
#include "run/archive_list.h"
#include "run/list_files.h"
#include "run/options.h"
#include "support/folder_test.h"
#include "support/run_program.h"

namespace moldex::test {
namespace {

// A parsed command line and the words that its options point into.
class Parsed {
 public:
  explicit Parsed(Words words) : words_(std::move(words)) {
    words_.insert(words_.begin(), "moldex");
    arguments_ = ArgumentsOf(words_);
    options.Parse(static_cast<int>(words_.size()), arguments_.data());
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

using OptionLists = FolderTest;

TEST_F(OptionLists, ListedNamesExcludeWhatIsBelowThemToo) {
  Write("list", "zz\n./a//b/\n/abs\nc*\n..\n.\n");
  Parsed parsed(Words{"-c", "x", "-X", Name("list")});
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

using Pairs = RenameMap;

class ListFiles : public FolderTest {
 protected:
  std::string List(const std::string& content) const {
    Write("list", content);
    return Name("list");
  }
  template <class Read>
  void ExpectRefused(Read read, const std::string& content) const {
    try {
      read(List(content));
      ADD_FAILURE() << "read: " << content.substr(0, 40);
    } catch (const CExcept& failure) {
      EXPECT_EQ(failure.code(), 43) << content.substr(0, 40);
    }
  }
};

TEST_F(ListFiles, NamesStandOneOnALine) {
  const std::pair<std::string, Words> cases[] = {
      {"", {}},
      {"a\r\nb\r\n", {"a", "b"}},
      {"a\r\n\r\nb\r", {"a", "b"}},
      {"  a b \t\n\tc\v\f\n \t \nd", {"a b", "c", "d"}},
      {"# comment\n  # another\na#b\n#", {"a#b"}},
      {"\xEF\xBB\xBFname\nb", {"name", "b"}},
      {"\xEF\xBB\xBF# comment\r\nb", {"b"}},
      {"\xEF\xBB\xBF", {}},
      {"a\n\xEF\xBB\xBFx", {"a", "\xEF\xBB\xBFx"}},
      {"*.txt\na|b\n./x/\n", {"*.txt", "a|b", "./x/"}},
      {std::string(60'000, 'n'), {std::string(60'000, 'n')}},
      {"#" + std::string(70'000, 'c') + "\na\n" + std::string(70'000, ' ') + "#" +
           std::string(70'000, 'c'),
       {"a"}},
      {std::string(70'000, '\t') + "\n" + std::string(70'000, ' ') + "a b" +
           std::string(70'000, ' '),
       {"a b"}}};
  for (const auto& [content, names] : cases)
    EXPECT_EQ(ReadNameFile(List(content)), names) << testing::PrintToString(content);
}

TEST_F(ListFiles, PairsAreSeparatedByTheFirstBarOrElseTheFirstBlank) {
  const std::pair<std::string, Pairs> cases[] = {
      {"a\tb\r\n", {{"a", "b"}}},
      {"a   b c", {{"a", "b c"}}},
      {"a b|c d", {{"a b", "c d"}}},
      {" a b | c d \r\n", {{"a b", "c d"}}},
      {"a |b c|", {{"a", "b c|"}}},
      {"./a//b/|c/./d/\n", {{"a/b", "c/d"}}},
      {"b|1\na|2\n\n# c|3\nb|4", {{"a", "2"}, {"b", "4"}}},
      {"\xEF\xBB\xBFx|b", {{"x", "b"}}}};
  for (const auto& [content, pairs] : cases)
    EXPECT_EQ(ReadRenameFile(List(content)), pairs) << testing::PrintToString(content);
}

TEST_F(ListFiles, LinesThatBreakTheFormatAreRefused) {
  for (const char* line : {"a", "a|", "a| ", "a ", "|", "|b", " |b", "a|.", ".|b", "a|././"}) {
    ExpectRefused(ReadRenameFile, line);
    ExpectRefused(ReadRenameFile, std::string("good|line\n") + line + "\r\ngood|line\n");
  }
  for (const auto& content : {std::string("a\0b|c", 5), std::string("good|line\n\0", 11)}) {
    ExpectRefused(ReadNameFile, content);
    ExpectRefused(ReadRenameFile, content);
  }
  ExpectRefused(ReadNameFile, std::string("#\0", 2));
  ExpectRefused(ReadNameFile, std::string(1'000'000, 'n'));
  ExpectRefused(ReadNameFile, "a" + std::string(70'000, ' ') + "b");
  ExpectRefused(ReadNameFile, "#" + std::string(70'000, 'c') + std::string(1, '\0'));
}

class ArchiveList : public FolderTest {
 protected:
  ArchiveList() : before_(std::filesystem::current_path()) {
    for (const char* name : {"b.qel", "a.qel", "C.QEL", ".p.qel", "two words.qel", "x,y.qel",
                             "w*.qel", "wide.qel", "d/2.qel", "d/1.qel", "d/sub/3.qel"}) {
      Make({{name, FileNode("")}});
    }
    std::filesystem::current_path(folder_.Path());
  }
  ~ArchiveList() override { std::filesystem::current_path(before_); }

  const std::filesystem::path before_;
};

using ListCase = std::pair<const char*, Words>;

TEST_F(ArchiveList, IsSplitAndItsPatternsAreExpandedUnlessItNamesAFile) {
  const ListCase cases[] = {
      {"a.qel", {"a.qel"}},
      {"  b.qel \t a.qel  ", {"b.qel", "a.qel"}},
      {" b.qel , a.qel ,", {"b.qel", "a.qel"}},
      {"two words.qel,a.qel", {"two words.qel", "a.qel"}},
      {",", {","}},
      {"", {""}},
      {"none 1,none 2", {"none 1", "none 2"}},
      {"two words.qel", {"two words.qel"}},
      {"x,y.qel", {"x,y.qel"}},
      {"w*.qel", {"w*.qel"}},
      {"w*.qel a.qel", {"w*.qel", "a.qel"}},
      {"?.qel", {"a.qel", "b.qel"}},
      {".*.qel", {".p.qel"}},
      {"./?.qel", {"./a.qel", "./b.qel"}},
      {"none*", {"none*"}},
      {"*/1.qel", {"*/1.qel"}},
      {"?.qel b.qel d/?.qel", {"a.qel", "b.qel", "b.qel", "d/1.qel", "d/2.qel"}},
      {"t*.qel,a*", {"two words.qel", "a.qel"}},
      {"A.QEL", {"A.QEL"}}};
  for (const auto& [value, archives] : cases)
    EXPECT_EQ(ExpandArchiveList(value, false), archives) << value;
}

TEST_F(ArchiveList, CapitalsMayMatchSmallLetters) {
  const ListCase cases[] = {
      {"A.QEL", {"a.qel"}},    {"?.QeL", {"C.QEL", "a.qel", "b.qel"}}, {"c.qel", {"C.QEL"}},
      {"a.qel", {"a.qel"}},    {"d/?.QEL", {"d/1.qel", "d/2.qel"}},    {"NONE.qel", {"NONE.qel"}},
      {"[A].qel", {"[A].qel"}}};
  for (const auto& [value, archives] : cases)
    EXPECT_EQ(ExpandArchiveList(value, true), archives) << value;
}

}  // namespace
}  // namespace moldex::test

// Lists of names and of renamed files, line by line.
#include "run/list_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "report/except.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

using Names = std::vector<std::string>;
using Pairs = std::map<std::string, std::string>;

class ListFiles : public testing::Test {
 protected:
  std::string List(const std::string& content) const {
    WriteFile(folder_.Path() / "list", content);
    return (folder_.Path() / "list").string();
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

  TempDir folder_;
};

TEST_F(ListFiles, NamesStandOneOnALine) {
  const std::pair<std::string, Names> cases[] = {
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
      {std::string(60'000, 'n'), {std::string(60'000, 'n')}}};
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
  for (const char* line : {"a", "a|", "a| ", "a ", "|", "|b", " |b"}) {
    ExpectRefused(ReadRenameFile, line);
    ExpectRefused(ReadRenameFile, std::string("good|line\n") + line + "\r\ngood|line\n");
  }
  for (const auto& content : {std::string("a\0b|c", 5), std::string("good|line\n\0", 11)}) {
    ExpectRefused(ReadNameFile, content);
    ExpectRefused(ReadRenameFile, content);
  }
  ExpectRefused(ReadNameFile, std::string("#\0", 2));
  ExpectRefused(ReadNameFile, std::string(1'000'000, 'n'));
}

TEST_F(ListFiles, FilesThatCannotBeOpenedAreReported) {
  for (const auto& file : {(folder_.Path() / "missing").string(), folder_.Path().string()}) {
    EXPECT_THROW(ReadNameFile(file), COpenExcept);
    EXPECT_THROW(ReadRenameFile(file), COpenExcept);
  }
}

}  // namespace
}  // namespace moldex::test

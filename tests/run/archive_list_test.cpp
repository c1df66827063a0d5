// What the value of -f comes to, in a folder with archives.
#include "run/archive_list.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

class ArchiveList : public testing::Test {
 protected:
  ArchiveList() : before_(fs::current_path()) {
    for (const char* name : {"b.qel", "a.qel", "C.QEL", ".p.qel", "two words.qel", "x,y.qel",
                             "w*.qel", "wide.qel", "d/2.qel", "d/1.qel", "d/sub/3.qel"}) {
      MakeTree(folder_.Path(), {{name, FileNode("")}});
    }
    fs::current_path(folder_.Path());
  }
  ~ArchiveList() override { fs::current_path(before_); }

  fs::path before_;
  TempDir folder_;
};

struct ListCase {
  const char* value;
  Names archives;
};

TEST_F(ArchiveList, IsSplitAtCommasOrElseAtBlanks) {
  const ListCase cases[] = {{"a.qel", {"a.qel"}},
                            {"  b.qel \t a.qel  ", {"b.qel", "a.qel"}},
                            {" b.qel , a.qel ,", {"b.qel", "a.qel"}},
                            {"two words.qel,a.qel", {"two words.qel", "a.qel"}},
                            {",", {","}},
                            {"", {""}},
                            {"none 1,none 2", {"none 1", "none 2"}}};
  for (const ListCase& c : cases)
    EXPECT_EQ(ExpandArchiveList(c.value, false), c.archives) << c.value;
}

TEST_F(ArchiveList, AFileOfThatVeryNameIsTheArchive) {
  for (const char* value : {"two words.qel", "x,y.qel", "w*.qel"})
    EXPECT_EQ(ExpandArchiveList(value, false), Names{value});
  EXPECT_EQ(ExpandArchiveList("w*.qel a.qel", false), (Names{"w*.qel", "a.qel"}));
}

TEST_F(ArchiveList, PatternsAreExpandedInOrderOfNames) {
  const ListCase cases[] = {
      {"?.qel", {"a.qel", "b.qel"}},
      {".*.qel", {".p.qel"}},
      {"./?.qel", {"./a.qel", "./b.qel"}},
      {"none*", {"none*"}},
      {"*/1.qel", {"*/1.qel"}},
      {"?.qel b.qel d/?.qel", {"a.qel", "b.qel", "b.qel", "d/1.qel", "d/2.qel"}},
      {"t*.qel,a*", {"two words.qel", "a.qel"}}};
  for (const ListCase& c : cases)
    EXPECT_EQ(ExpandArchiveList(c.value, false), c.archives) << c.value;
}

TEST_F(ArchiveList, CapitalsMayMatchSmallLetters) {
  const ListCase cases[] = {
      {"A.QEL", {"a.qel"}},    {"?.QeL", {"C.QEL", "a.qel", "b.qel"}}, {"c.qel", {"C.QEL"}},
      {"a.qel", {"a.qel"}},    {"d/?.QEL", {"d/1.qel", "d/2.qel"}},    {"NONE.qel", {"NONE.qel"}},
      {"[A].qel", {"[A].qel"}}};
  for (const ListCase& c : cases)
    EXPECT_EQ(ExpandArchiveList(c.value, true), c.archives) << c.value;
  EXPECT_EQ(ExpandArchiveList("A.QEL", false), Names{"A.QEL"});
}

}  // namespace
}  // namespace moldex::test

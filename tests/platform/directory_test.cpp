// Names of a directory in byte order, whatever the memory allowed for them.
#include "platform/directory.h"

#include <algorithm>
#include <random>
#include <set>

#include "platform/file_services.h"
#include "report/system_error.h"
#include "support/folder_test.h"

namespace moldex::test {
namespace {

using Names = std::vector<std::string>;

constexpr std::size_t kPlenty = 1 << 20;

class Directory : public FolderTest {
 protected:
  // Names of one to 60 bytes from few letters, so that many begin alike.
  void MakeMany(int count) const {
    std::mt19937 random(3);
    for (int i = 0; i < count; ++i) {
      std::string name(1 + random() % 60, 'a');
      for (char& c : name)
        c = "ab.A\xC3~"[random() % 6];
      if (name != "." && name != "..") Write(name, "");
    }
  }

  Names All(std::size_t budget) const {
    CNameMemory memory(budget);
    CSortedDirectory directory(Name(""), memory);
    return Rest(directory);
  }

  static Names Rest(CSortedDirectory& directory) {
    Names names;
    while (const auto name = directory.Next())
      names.push_back(*name);
    return names;
  }
};

TEST_F(Directory, NamesComeInByteOrder) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "these are no names there";
  const Names expected = {" ",   "#",  ".a", "0", "A", "B",        "a",   "a ",
                          "a.b", "aa", "ab", "b", "~", "\xC3\xA4", "\xFF"};
  for (const std::string& name : expected)
    Write(name, "");
  EXPECT_EQ(All(kPlenty), expected);
  EXPECT_EQ(All(1), expected);
}

TEST_F(Directory, EveryBudgetGivesTheSameNamesAndIsKept) {
  MakeMany(300);
  const Names expected = All(kPlenty);
  ASSERT_GT(expected.size(), 250u);
  ASSERT_TRUE(std::is_sorted(expected.begin(), expected.end()));
  for (const std::size_t budget : {0u, 1u, 33u, 100u, 333u, 1000u, 5000u, 20000u}) {
    CNameMemory memory(budget);
    CSortedDirectory directory(Name(""), memory);
    Names names;
    // A name that alone exceeds the budget is held all the same.
    const std::size_t most = std::max(budget, sizeof(std::string) + 60);
    while (const auto name = directory.Next()) {
      names.push_back(*name);
      EXPECT_LE(memory.HeldBytes(), most) << budget;
    }
    EXPECT_EQ(names, expected) << budget;
    EXPECT_EQ(memory.HeldBytes(), 0u);
    EXPECT_TRUE(directory.Outcome());
    EXPECT_FALSE(directory.Next()) << "the end stays the end";
  }
}

TEST_F(Directory, TheInnerOneHasTheMemoryAndTheOuterOneLosesNoName) {
  MakeMany(300);
  const Names expected = All(kPlenty);
  CNameMemory memory(8000);  // for a third of them
  CSortedDirectory outer(Name(""), memory);
  Names names;
  for (std::size_t round = 0; round < expected.size(); ++round) {
    names.push_back(outer.Next().value_or(""));
    if (round % 50 != 0) continue;
    std::size_t looks = 0;
    CSortedDirectory inner(Name(""), memory);
    inner.SetFilter([&](const char*) { return ++looks > 0; });
    EXPECT_EQ(Rest(inner), expected);
    EXPECT_LE(looks, 4 * expected.size()) << "read again for few names";
    EXPECT_LE(memory.HeldBytes(), 8000U);
  }
  EXPECT_EQ(names, expected);
}

TEST_F(Directory, NamesThatComeAndGoDoNotDisturbTheOthers) {
  MakeMany(200);
  const Names at_start = All(kPlenty);
  for (unsigned seed = 0; seed < 10; ++seed) {
    std::mt19937 random(seed);
    std::set<std::string> disturbed;
    CNameMemory memory(100 + random() % 1000);
    CSortedDirectory directory(Name(""), memory);
    Names names;
    while (const auto name = directory.Next()) {
      names.push_back(*name);
      const std::string& other = at_start[random() % at_start.size()];
      disturbed.insert(other);
      if (!std::filesystem::remove(Path(other))) Write(other, "");
      Write("a_new" + std::to_string(random() % 50), "");
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "handed out twice";
    for (const std::string& name : at_start) {
      if (disturbed.contains(name)) continue;
      EXPECT_TRUE(std::binary_search(names.begin(), names.end(), name)) << "lost " << name;
    }
    for (const std::string& name : at_start)
      Write(name, "");
  }
}

TEST_F(Directory, WhatCannotBeOpenedSaysSo) {
  Write("file", "");
  for (const char* name : {"missing", "file", "file/below"}) {
    RememberErrno(0);
    CNameMemory memory(kPlenty);
    CSortedDirectory directory(Name(name), memory);
    EXPECT_FALSE(directory.Next()) << name;
    EXPECT_EQ(directory.Outcome().error().step, DirectoryFailure::Step::kOpen) << name;
    EXPECT_NE(LastSystemError().code, 0u) << name;
  }
}

TEST_F(Directory, NothingIsFoundUnderAPathThatLeadsElsewhereByNow) {
  Make({{"d/f", FileNode("")}, {"other/f", FileNode("")}});
  const FileIdentity other = QueryStatus(Name("other"))->identity;
  CNameMemory memory(kPlenty);
  CSortedDirectory directory(Name("d"), memory, other);
  EXPECT_FALSE(directory.Next());
  EXPECT_EQ(directory.Outcome().error().step, DirectoryFailure::Step::kOpen);
  EXPECT_FALSE(QueryLinkStatusIn(other, Name("d/f")));
  EXPECT_EQ(QueryLinkStatusIn(other, Name("other/f"))->identity,
            QueryLinkStatus(Name("other/f"))->identity);
}

TEST_F(Directory, ADirectoryThatGoesAwayBetweenBatchesIsReported) {
  MakeMany(20);
  CNameMemory memory(1);
  CSortedDirectory directory(Name(""), memory);
  EXPECT_TRUE(directory.Next());
  std::filesystem::remove_all(folder_.Path());
  EXPECT_FALSE(directory.Next());
  EXPECT_EQ(directory.Outcome().error().step, DirectoryFailure::Step::kOpen);
}

}  // namespace
}  // namespace moldex::test

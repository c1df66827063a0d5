// Names from list files, patterns in operands, and lists of archives.
#include <chrono>
#include <string>
#include <thread>

#include "program/program_test.h"

namespace moldex::test {
namespace {

class NameLists : public ProgramTest {
 protected:
  void SetUp() override {
    Make({{"d", DirectoryNode()},
          {"d/a", FileNode("a")},
          {"d/b", FileNode("b")},
          {"d/sub", DirectoryNode()},
          {"d/sub/c", FileNode("c")},
          {"x.txt", FileNode("x")},
          {"y.txt", FileNode("y")},
          {".hidden.txt", FileNode("h")}});
  }

  // The names in a new archive made with these arguments.
  std::vector<std::string> Create(const std::string& arguments, int status = 0) {
    const RunResult result = Run("-cf new.qel " + arguments);
    EXPECT_EQ(result.status, status) << result.out;
    return Exists("new.qel") ? NamesOf(Entries("new.qel")) : std::vector<std::string>();
  }
};

using Names = std::vector<std::string>;

TEST_F(NameLists, IncludedNamesFollowTheOperandsAndAreNoPatterns) {
  Write("list", "# comment\r\n\r\n  d/sub  \r\n*.txt\r\ny.txt");
  EXPECT_EQ(Create("-i x.txt -A list", 44), (Names{"x.txt", "d/sub", "d/sub/c", "y.txt"}));
}

TEST_F(NameLists, WaitForWhoeverWritesIntoAPipe) {
  if (LeftOutOnWindows("a named pipe: Windows has none among its files")) return;
  Make({{"pipe", FifoNode()}});
  std::thread writer([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    Write("pipe", "d/a\n");
  });
  EXPECT_EQ(Create("-A pipe"), (Names{"d/a"}));
  writer.join();
}

TEST_F(NameLists, ExcludedDirectoriesGoWithWhatIsBelowThem) {
  Write("not", "d/sub\n./x.txt\n");
  EXPECT_EQ(Create("d x.txt y.txt -X not"), (Names{"d", "d/a", "d/b", "y.txt"}));
  EXPECT_EQ(Create("./d/sub/c ./y.txt -X not"), (Names{"./y.txt"}));
}

TEST_F(NameLists, RenamedNamesAreStoredUnderTheirNewOnes) {
  Write("renames", "\xEF\xBB\xBFx.txt|new name.txt\n  d other\n# y.txt z\n./d/b | else/where\n");
  EXPECT_EQ(Create("d x.txt y.txt -T renames"),
            (Names{"other", "d/a", "else/where", "d/sub", "d/sub/c", "new name.txt", "y.txt"}));
}

TEST_F(NameLists, ARenameListAloneSaysWhatIsArchived) {
  Write("renames", "y.txt|2\nx.txt|1\n");
  EXPECT_EQ(Create("-T renames"), (Names{"1", "2"}));
}

TEST_F(NameLists, BrokenListsAreRefused) {
  const struct {
    const char* option;
    std::string content;
  } cases[] = {{"-T", "onlyone\n"}, {"-A", std::string("a\0b\n", 4)}, {"-X", std::string("\0", 1)}};
  for (const auto& [option, content] : cases) {
    Write("broken", content);
    ExpectRun(std::string("-cf new.qel x.txt ") + option + " broken",
              "MOLDEX: wrong format in file broken (error 43). \n", 43);
    EXPECT_FALSE(Exists("new.qel")) << content;
  }
  for (const std::string option : {"-A", "-X", "-T"}) {
    ExpectRun("-cf new.qel x.txt " + option + " none", OpenError("none"), 6);
  }
}

TEST_F(NameLists, SelectFromArchivesByteForByte) {
  Create("d x.txt y.txt");
  Write("list", "d/sub\nX.TXT\n");
  ExpectRun("-dvf new.qel y.txt -A list",
            Processing("new.qel") + "d d/sub\nd d/sub/c\nd y.txt\nMOLDEX: 3 file(s) tested\n", 0);
}

TEST_F(NameLists, PatternsInOperandsAreExpandedByTheProgram) {
  EXPECT_EQ(Create("*.txt"), (Names{"x.txt", "y.txt"}));
  EXPECT_EQ(Create("d/?"), (Names{"d/a", "d/b"}));
  EXPECT_EQ(Create("d/s*"), (Names{"d/sub", "d/sub/c"}));
  EXPECT_EQ(Create(".h*"), (Names{".hidden.txt"}));
  EXPECT_EQ(Create("-i ?.none x.txt", 44), (Names{"x.txt"}));
}

TEST_F(NameLists, AFileWhoseNameIsAPatternIsArchivedByTheWalk) {
  if (OnWindows()) GTEST_SKIP() << "no file can have such a name there";
  Write("d/*", "star");
  EXPECT_EQ(Create("d"), (Names{"d", "d/*", "d/a", "d/b", "d/sub", "d/sub/c"}));
}

TEST_F(NameLists, ListsOfArchivesAreExpandedAndSorted) {
  for (const std::string name : {"b2.qel", "a1.qel", "Upper.QEL"})
    Write(name, BuildArchive({}));
  const auto both = Processing("a1.qel") + Processing("b2.qel");
  ExpectRun("-t -f *.qel", both, 0);
  // Where case does not tell names apart, this is the name of a file as it stands.
  ExpectRun("-t -g -f upper.qel", Processing(OnWindows() ? "upper.qel" : "Upper.QEL"), 0);
  ExpectRun("-t -f no*.qel", OpenError("no*.qel", Complaint::kBadName), 6);
}

}  // namespace
}  // namespace moldex::test

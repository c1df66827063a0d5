// The words of the command line: what each one sets, what is refused, and which rule speaks first;
// and names from list files, patterns in operands, and lists of archives.
#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include "program/program_test.h"

namespace moldex::test {
namespace {

class CommandLine : public ProgramTest {
 protected:
  CommandLine() { Make({{"x", FileNode("text")}, {"t", FileNode("")}, {"d", DirectoryNode()}}); }
};

constexpr char kNoCommand[] = "please specify a command (one of -c, -x, -t, -d, -a, -m, -l)";

TEST_F(CommandLine, RefusesWrongWordsAndThenWrongCombinations) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"-cvq", "unknown command option q", 20},
      {"-longnames", "unknown command option ongnames", 20},
      {"-x -version", "unknown command option ersion", 20},
      {"-CV", "unknown command option CV", 20},
      {"--", "unknown command option -", 20},
      {"-xvf", "f-option specified without filename", 19},
      {"-f a -f b", "f: use option only once", 18},
      {"-p 644 -p 600", "use p-option only once", 18},
      {"-p 9", "no octal value specified for p-option", 27},
      // The first wrong word speaks, and every word before any combination.
      {"-p 9 -q", "no octal value specified for p-option", 27},
      {"-c -C d -P -q", "unknown command option q", 20},
      {"-c", "no files given for archiving", 29},
      {"-c -p 644z", "no files given for archiving", 29},  // junk after octal digits is fine,
      {"-c -p", "no files given for archiving", 29},       // and so is no value at all
      {"-xc", "no files given for archiving", 29},         // the last command letter counts
      {"-x", "no archives specified for extracting", 29},
      {"-cx", "no archives specified for extracting", 29},
      {"-a", "no files specified for appending", 29},
      {"-l", "no files specified for scanning", 29},
      {"-acl", "no files specified for scanning", 29},
      {"-v", kNoCommand, 21},
      {"-", kNoCommand, 21},
      {"-C d -P", kNoCommand, 21},
      {"-c x -C d -P", "don't use both P-option and C-option", 22},
      {"-xf a -C d", "use C-option only with create (-c)", 23},
      {"-xf a -T t -X t", "use T-option only with create (-c) or append (-a)", 24},
      {"-tf a -X t -lower", "use X-option only with create (-c), append (-a) or scan (-l)", 25},
      {"-c x -R d -s", "use R-option only with extract (-x) or list content (-t)", 26},
      {"-cs x -lower", "use s-option only with list content (-t)", 31},
      {"-tf a -lower", "use -lower only with extract (-x)", 46},
  };
  for (const auto& [line, message, code] : cases) {
    ExpectRun(line, Failure(message, code), code);
  }
  for (const std::string option : {"A", "C", "R", "T", "X"}) {
    for (const std::string& line : {"-" + option, "-" + option + " -P"})
      ExpectRun(line, Failure(option + "-option specified without filename", 19), 19);
    ExpectRun("-" + option + " t -" + option + " t", Failure(option + ": use option only once", 18),
              18);
  }
}

TEST_F(CommandLine, IgnoresBackupWithAMessage) {
  const std::string ignored =
      "MOLDEX: option -backup only supported by UNICODE Moldex (option ignored)\n";
  ExpectRun("-backup", ignored + Failure(kNoCommand, 21), 21);
  ExpectRun("-cf a.qel x -backup", ignored, 0);
  EXPECT_EQ(ContentOf(Entries("a.qel").at(0)), "text");
}

TEST_F(CommandLine, SkipsTheRestOfAGroupAfterF) {
  ExpectRun("-cfv a.qel x", "", 0);
  ExpectRun("-cfq b.qel x", "", 0);  // not even unknown letters are looked at
  EXPECT_TRUE(Exists("a.qel") && Exists("b.qel"));
}

TEST_F(CommandLine, ReadsWordsInAnyOrder) {
  for (const char* line : {"-cvf a.qel x", "x -cvf a.qel", "-f a.qel -v x -c", "-f a.qel -vc x",
                           "- -v -c -V -f a.qel x", "-cgvf a.qel x"}) {
    ExpectRun(line, "a x\n", 0);
    EXPECT_EQ(NamesIn("a.qel"), Words{"x"}) << line;
    Remove("a.qel");
  }
}

TEST_F(CommandLine, ValuesThatNameNothingAreNoSuccess) {
  const std::pair<Words, int> cases[] = {{{"-xf", " , "}, 29},
                                         {{"-xf", ""}, 29},
                                         {{"-df", ""}, 6},
                                         {{"-tf", ","}, 6},
                                         {{"-xf", "x", "-R", ""}, 19}};
  for (const auto& [arguments, status] : cases)
    EXPECT_EQ(Run(arguments).status, status);
}

class NameLists : public ProgramTest {
 protected:
  NameLists() {
    for (const char* name : {"d/a", "d/b", "d/sub/c", "x.txt", "y.txt", ".hidden.txt"})
      Make({{name, FileNode("content")}});
  }
};

TEST_F(NameLists, ChooseAndRenameWhatIsArchived) {
  Write("list", "# comment\r\n\r\n  d/sub  \r\n*.txt\r\ny.txt");
  Write("not", "d/sub\n./x.txt\ngone\n/none*\n");
  Write("new", "\xEF\xBB\xBFx.txt|new name.txt\n  d other\n# y.txt z\n./d/b | else/where\n");
  Write("both", "y.txt|2\nx.txt|1\n");
  Write("deep", "d/sub|s\nd/sub/c|c\nd/sub/gone|g\ny.txt|y\n");
  const std::pair<std::string, Words> cases[] = {
      {"d x.txt y.txt -X not", {"d", "d/a", "d/b", "y.txt"}},
      {"./d/sub/c gone ./y.txt /none* d/sub/* -X not", {"./y.txt"}},
      {"d x.txt y.txt -T new",
       {"other", "d/a", "else/where", "d/sub", "d/sub/c", "new name.txt", "y.txt"}},
      {"-T both", {"1", "2"}},
      {"y.* y.txt -T both", {"2", "2", "1"}},
      {"*.txt", {"x.txt", "y.txt"}},
      {"d/?", {"d/a", "d/b"}},
      {"d/s*", {"d/sub", "d/sub/c"}},
      {".h*", {".hidden.txt"}}};
  for (const auto& [arguments, names] : cases)
    ExpectCreation(arguments, names);
  ExpectCreation("-i d/sub/c -T deep", {"c", "s", "y"}, Inaccessible("d/sub/gone"), 44);
  // Names from a list are no patterns, and come after the operands.
  ExpectCreation("-i x.txt -A list", {"x.txt", "d/sub", "d/sub/c", "y.txt"}, Inaccessible("*.txt"),
                 44);
  ExpectCreation("-i ?.none x.txt", {"x.txt"}, Inaccessible("?.none"), 44);
}

TEST_F(NameLists, WaitForWhoeverWritesIntoAPipe) {
  if (LeftOutOnWindows("a named pipe: Windows has none among its files")) return;
  Make({{"pipe", FifoNode()}});
  std::thread writer([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    Write("pipe", "d/a\n");
  });
  ExpectCreation("-A pipe", {"d/a"});
  writer.join();
  std::string archive;
  std::thread reader([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    std::ifstream pipe(Path("pipe"));
    archive.assign(std::istreambuf_iterator<char>(pipe), {});
  });
  ExpectRun("-cf pipe d", "", 0);
  reader.join();
  EXPECT_EQ(ParseArchive(archive).size(), 5U) << "the other way round";
}

TEST_F(NameLists, BrokenListsAreRefused) {
  const std::pair<std::string, std::string> cases[] = {
      {"-T", "onlyone\n"}, {"-A", std::string("a\0b\n", 4)}, {"-X", std::string("\0", 1)}};
  for (const auto& [option, content] : cases) {
    Write("broken", content);
    ExpectCreation("x.txt " + option + " broken", {}, Failure("wrong format in file broken", 43),
                   43);
    ExpectCreation("x.txt " + option + " none", {}, OpenError("none"), 6);
  }
}

TEST_F(NameLists, AnExistingNameIsNoPattern) {
  if (OnWindows()) GTEST_SKIP() << "no file can have such a name there";
  Make({{"d/*", FileNode("star")}, {"wha?", FileNode("1")}, {"what", FileNode("2")}});
  ExpectCreation("wha?", {"wha?"});
  ExpectCreation("d", {"d", "d/*", "d/a", "d/b", "d/sub", "d/sub/c"});
}

TEST_F(NameLists, ListsOfArchivesAreExpandedAndSorted) {
  for (const std::string name : {"b2.qel", "a1.qel", "Upper.QEL"})
    Write(name, BuildArchive({}));
  const std::string upper = OnWindows() ? Processing("Upper.QEL") : "";
  ExpectRun("-t -f *.qel", upper + Processing("a1.qel") + Processing("b2.qel"), 0);
  // Where case does not tell names apart, this is the name of a file as it stands.
  ExpectRun("-t -g -f upper.qel", Processing(OnWindows() ? "upper.qel" : "Upper.QEL"), 0);
  ExpectRun("-t -f no*.qel", OpenError("no*.qel", Complaint::kBadName), 6);
}

}  // namespace
}  // namespace moldex::test

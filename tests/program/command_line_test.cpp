// The words of the command line: what each one sets, what is refused, and which rule speaks first.
#include <filesystem>
#include <fstream>
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

class CommandLine : public ProgramTest {
 protected:
  CommandLine() { Make({{"x", FileNode("text")}, {"t", FileNode("")}, {"d", DirectoryNode()}}); }
};

constexpr char kNoCommand[] = "please specify a command (one of -c, -x, -t, -d, -a, -m, -l)";

TEST_F(CommandLine, RefusesWrongWordsAndThenWrongCombinations) {
  const struct {
    const char* line;
    const char* message;
    int code;
  } cases[] = {
      {"-cvq", "unknown command option q", 20},
      {"-longnames", "unknown command option ongnames", 20},
      {"-x -version", "unknown command option ersion", 20},
      {"-CV", "unknown command option CV", 20},
      {"--", "unknown command option -", 20},
      {"-xvf", "f-option specified without filename", 19},
      {"-A", "A-option specified without filename", 19},
      {"-C -P", "C-option specified without filename", 19},
      {"-R", "R-option specified without filename", 19},
      {"-T", "T-option specified without filename", 19},
      {"-X", "X-option specified without filename", 19},
      {"-f a -f b", "f: use option only once", 18},
      {"-A t -A t", "A: use option only once", 18},
      {"-C d -C d", "C: use option only once", 18},
      {"-R d -R d", "R: use option only once", 18},
      {"-T t -T t", "T: use option only once", 18},
      {"-X t -X t", "X: use option only once", 18},
      {"-p 644 -p 600", "use p-option only once", 18},
      {"-p 9", "no octal value specified for p-option", 27},
      // The first wrong word speaks, and every word before any combination.
      {"-p 9 -q", "no octal value specified for p-option", 27},
      {"-c -C d -P -q", "unknown command option q", 20},
      {"-c", "no files given for archiving", 29},
      {"-c -p 644z", "no files given for archiving", 29},  // junk behind octal digits is fine,
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
    const std::string error = " (error " + std::to_string(code) + "). \n";
    ExpectRun(line, std::string("MOLDEX: ") + message + error, code);
  }
}

TEST_F(CommandLine, IgnoresBackupWithAMessage) {
  const std::string ignored =
      "MOLDEX: option -backup only supported by UNICODE Moldex (option ignored)\n";
  ExpectRun("-backup", ignored + "MOLDEX: " + kNoCommand + " (error 21). \n", 21);
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
    EXPECT_EQ(NamesOf(Entries("a.qel")), std::vector<std::string>{"x"}) << line;
    std::filesystem::remove(Path("a.qel"));
  }
}

TEST_F(CommandLine, ValuesThatNameNothingAreNoSuccess) {
  const struct {
    Words arguments;
    int status;
  } cases[] = {{{"-xf", " , "}, 29},
               {{"-xf", ""}, 29},
               {{"-df", ""}, 6},
               {{"-tf", ","}, 6},
               {{"-xf", "x", "-R", ""}, 19}};
  for (const auto& [arguments, status] : cases)
    EXPECT_EQ(Run(arguments).status, status);
}

}  // namespace
}  // namespace moldex::test

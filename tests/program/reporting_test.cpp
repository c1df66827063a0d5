// The program's words about itself and its runs: usage, version, statistics, the two files it
// writes in special cases, and archives that are not its own.
#include <regex.h>

#include <cstdlib>

#include "program/program_test.h"
#include "support/terminal.h"

namespace moldex::test {
namespace {

using Reporting = ProgramTest;

const char kBanner[] =
    "\nThis is moldex, release [^\n]+\n"
    "compiled on [A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4}, [0-9]{2}:[0-9]{2}:[0-9]{2}\n";
const char kRelease[] = "running MOLDEX in release [^\n]+\n";

// True when an extended regular expression matches the whole text.
bool Matches(const std::string& text, const std::string& pattern) {
  regex_t compiled{};
  EXPECT_EQ(regcomp(&compiled, ("^" + pattern + "$").c_str(), REG_EXTENDED | REG_NOSUB), 0);
  const bool matches = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return matches;
}

TEST_F(Reporting, PrintsUsageAndBannerWithoutArguments) {
  const RunResult result = Run("");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.substr(0, 6), "usage:");
  for (const char* line : {"MOLDEX -c[vir][f archive] [-P] [-C directory]",
                           "MOLDEX -t[vs][f archive] [file1 file2....]",
                           "MOLDEX -l [-A filename][-X filename] [file1 file2...]",
                           "-a            : append files to an archive",
                           "-X FILE       : get names to exclude from FILE"}) {
    EXPECT_NE(result.out.find(line), std::string::npos) << line;
  }
  const std::size_t banner = result.out.find("\nThis is moldex, release ");
  ASSERT_NE(banner, std::string::npos);
  EXPECT_TRUE(Matches(result.out.substr(banner), kBanner)) << result.out.substr(banner);
}

TEST_F(Reporting, PrintsTheBannerForTheVersionWordInAnyCase) {
  for (const char* line : {"-version", "-VERSION", "-vErSiOn", "-version -q -x"}) {
    const RunResult result = Run(line);
    EXPECT_TRUE(Matches(result.out, std::string(kBanner) + "\n")) << line << result.out;
    EXPECT_EQ(result.status, 0);
  }
  EXPECT_EQ(Run("-versions").status, 20);
  EXPECT_EQ(Run("-e -version").status, 20);
}

TEST_F(Reporting, HelpsOnStandardErrorAfterTheFailureOfAHelpWord) {
  const std::string version = "\nThis is moldex, release ";
  const std::string usage = Run("").out;
  const std::tuple<Words, int, std::string> cases[] = {
      {{"-h"}, 21, usage},           {{"-help"}, 20, usage},  {{"--help"}, 20, usage},
      {{"--HELP"}, 20, usage},       {{"-?"}, 20, usage},     {{"help"}, 21, usage},
      {{"--version"}, 20, version},  {{"-h", "-v"}, 21, ""},  {{"--help", "x"}, 20, ""},
      {{"--version", "-x"}, 20, ""}, {{"-tf", "help"}, 6, ""}};
  for (const auto& [words, status, begin] : cases) {
    const RunResult result = RunProgram(folder_.Path(), words);
    EXPECT_EQ(result.status, status) << words[0];
    EXPECT_TRUE(result.out.starts_with("MOLDEX: ")) << result.out;
    EXPECT_EQ(WithLineFeeds(result.err).substr(0, begin.size()), begin) << words[0];
    EXPECT_EQ(result.err.empty(), begin.empty()) << result.err;
  }
  if (OnWindows()) return;
  // At a terminal the usage takes the place of hints.
  EXPECT_EQ(RunAt({80, "out", {}}, folder_.Path(), {"--help"}).bytes.find("hint: "),
            std::string::npos);
}

TEST_F(Reporting, CountsProcessedFilesWithNUnlessTheRunFails) {
  Make({{"d/x", FileNode("1")}, {"d/y", FileNode("")}});
  const std::string processing = "MOLDEX: processing archive a.qel\\.\\.\\.\n";
  const std::tuple<const char*, std::string, int> cases[] = {
      {"-cf a.qel d -n", "", 3},
      {"-n -df a.qel", processing + "MOLDEX: 3 file\\(s\\) tested\n", 3},
      {"-n -xf a.qel -R out d/x", processing + "MOLDEX: 1 file\\(s\\) extracted\n", 1},
      {"-n -tf a.qel d/y", processing + "[^\n]+ d/y\n", 1}};
  for (const auto& [line, between, files] : cases) {
    const std::string statistics =
        "Printing program statistics for MOLDEX\\.\\.\\.\n"
        "time elapsed: 00:00:[0-5][0-9] \\(hh:mm:ss\\)\n"
        "Files processed: " +
        std::to_string(files) + "\n";
    const RunResult result = Run(line);
    EXPECT_TRUE(Matches(result.out, kRelease + between + statistics)) << line << result.out;
    EXPECT_EQ(result.status, 0) << line;
  }
  ExpectRun("-n -c", Failure("no files given for archiving", 29), 29);
  Write("a.qel", "VUK");
  const RunResult failed = Run("-n -tf a.qel");
  EXPECT_TRUE(Matches(failed.out, kRelease + std::string("MOLDEX: error reading from a.qel "
                                                         "\\(error 5\\)\\. \n")))
      << failed.out;
  EXPECT_EQ(failed.status, 5);
}

TEST_F(Reporting, RedirectsAllOutputWithE) {
  Make({{"x", FileNode("1")}, {"moldex_output", FileNode("a longer text from an earlier run\n")}});
  ExpectRun("-e -cvf a.qel x", "", 0);
  EXPECT_EQ(Text("moldex_output"), "a x\n");
  ExpectRun("-e -c", "", 29);
  EXPECT_EQ(Text("moldex_output"), Failure("no files given for archiving", 29));
  ExpectRun("-e -q", Failure("unknown command option q", 20), 20);  // not yet redirected
  EXPECT_FALSE(Exists("moldex.log"));
}

TEST_F(Reporting, GoesOnOnTheConsoleWhenTheRedirectionFails) {
  Make({{"x", FileNode("1")}, {"moldex_output", DirectoryNode()}});
  const RunResult result = RunProgram(folder_.Path(), {"-e", "-cvf", "a.qel", "x"});
  EXPECT_EQ(result.err, "MOLDEX: could not redirect stdout to file moldex_output\n");
  EXPECT_EQ(result.out, "a x\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Reporting, ListsInaccessibleFilesInTheLogWithE) {
  Make({{"x", FileNode("1")}, {"d/pipe", FifoNode()}});
  const std::string log = "# List of inaccessible files\n# ==========================\n";
  const std::string closing =
      "MOLDEX: some files could not be accessed (see MOLDEX.log for details)\n";
  ExpectRun("-e -cf a.qel no x d", "", 44);
  EXPECT_EQ(Text("moldex.log"), log + "no\nd/pipe\n");
  EXPECT_EQ(Text("moldex_output"), closing);
  EXPECT_FALSE(Exists("a.qel"));
  ExpectRun("-e -icf a.qel x no2", "", 44);
  EXPECT_EQ(Text("moldex.log"), log + "no2\n");
  EXPECT_EQ(Text("moldex_output"), closing);
  EXPECT_TRUE(Exists("a.qel"));
  Remove("moldex.log");
  Make({{"moldex.log", DirectoryNode()}});
  ExpectRun("-e -cf a.qel no x", "", 6);
  EXPECT_EQ(Text("moldex_output"), OpenError("moldex.log", Complaint::kIsDirectory));
  Remove("moldex.log");
  ExpectRun("-e -icf moldex.log x no", "", 6);  // the log would be written over the archive
  ExpectRun("-df moldex.log",
            "MOLDEX: processing archive moldex.log...\nMOLDEX: 1 file(s) tested\n", 0);
}

TEST_F(Reporting, SumsUpNoMoreAfterWhatIsNoArchive) {
  const std::string invalid = "MOLDEX: invalid archive old\n";
  Archive({DirectoryEntry("d")});
  Write("old", "some other file");
  const RunResult result = Run(Words{"-df", "a.qel old a.qel"});
  EXPECT_EQ(result.out, Processing("a.qel") + Tested(1) + invalid + Processing("a.qel"));
  EXPECT_EQ(result.status, 40);
}

// On a terminal control characters in names are shown, not obeyed; elsewhere they are the bytes
// that they are.
TEST_F(Reporting, ShowsControlCharactersOfNamesAsOctalEscapes) {
  if (OnWindows()) GTEST_SKIP() << "names have no control characters there";
  const std::pair<const char*, const char*> cases[] = {
      {"\x1B[2J", "\\033[2J"},
      {"a\nMOLDEX: 9 file(s) extracted", "a\\012MOLDEX: 9 file(s) extracted"},
      {"a\rb\tc\x7F", "a\\015b\\011c\\177"},
      {"csi\xC2\x9B", "csi\\302\\233"},
      {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"a\xE2\x80\xAE"
       "b\xE2\x81\xA6\xE2\x81\xA9",
       "a\\342\\200\\256b\\342\\201\\246\\342\\201\\251"},
      {"back\\slash", "back\\slash"}};
  const auto on_terminal = [&](const Words& words) {
    std::string bytes = RunAt({}, folder_.Path(), words).bytes;
    std::erase(bytes, '\r');
    return bytes;
  };
  for (const auto& [name, shown] : cases) {
    Archive({FileEntry(name, "1")});
    Write("p.qel", BuildArchive({FileEntry(std::string("../") + name, "1")}));
    const Words extract = {"-xvf", "a.qel", "-R", "out"};
    const Words refused = {"-xf", "p.qel", "-R", "out"};
    const Words list = {"-tf", "a.qel"};
    const auto expect = [&](const std::string& text, const auto& run) {
      EXPECT_EQ(run(extract), Processing("a.qel") + "x " + text + "\n" + Extracted(1));
      EXPECT_TRUE(run(list).ends_with(" " + text + "\n"));
      EXPECT_NE(run(refused).find(Leaves("../" + text)), std::string::npos);
    };
    expect(name, [&](const Words& words) { return Run(words).out; });
    EXPECT_EQ(Bytes("out/" + std::string(name)), "1");
    expect(shown, on_terminal);
  }
  // Bytes that are no UTF-8 are controls of other code pages.
  EXPECT_EQ(on_terminal({"-icf", "b.qel", "\x9B\xFF"}),
            Inaccessible("\\233\xFF") + "hint: \\233\xFF: No such file or directory\n");
  // Where a character is a byte, the second half of a letter in UTF-8 may be one.
  Archive({FileEntry("\xC3\x9B\xC3\xA4", "1")});
  const char* locale = std::getenv("LC_ALL");
  const std::string former = locale != nullptr ? locale : "";
  (void)setenv("LC_ALL", "C", 1);
  EXPECT_TRUE(on_terminal({"-tf", "a.qel"}).ends_with(" \xC3\\233\xC3\xA4\n"));
  (void)(locale != nullptr ? setenv("LC_ALL", former.c_str(), 1) : unsetenv("LC_ALL"));
  EXPECT_NE(on_terminal({"-version"}).find("release"), std::string::npos);
  EXPECT_EQ(on_terminal({"-version"}), Run("-version").out);
}

}  // namespace
}  // namespace moldex::test

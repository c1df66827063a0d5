// What the program says about itself and its runs: usage, version, statistics, the two files it
// writes in special cases, and archives that are not its own.
#include <regex.h>

#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

using Reporting = ProgramTest;

const char kBanner[] =
    "\nThis is moldex, release [^\n]+\n"
    "compiled on [A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4}, [0-9]{2}:[0-9]{2}:[0-9]{2}\n";

// Whether an extended regular expression matches the whole text.
bool Matches(const std::string& text, const std::string& pattern) {
  regex_t compiled{};
  EXPECT_EQ(regcomp(&compiled, ("^" + pattern + "$").c_str(), REG_EXTENDED | REG_NOSUB), 0);
  const bool matches = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return matches;
}

std::string Statistics(unsigned files) {
  return "Printing program statistics for MOLDEX\\.\\.\\.\n"
         "time elapsed: 00:00:[0-5][0-9] \\(hh:mm:ss\\)\n"
         "Files processed: " +
         std::to_string(files) + "\n";
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

TEST_F(Reporting, CountsProcessedFilesWithN) {
  Make({{"d/x", FileNode("1")}, {"d/y", FileNode("")}});
  const std::string release = "running MOLDEX in release [^\n]+\n";
  const struct {
    const char* line;
    const char* between;
    unsigned files;
  } cases[] = {
      {"-cf a.qel d -n", "", 3},
      {"-n -df a.qel", "MOLDEX: processing archive a.qel\\.\\.\\.\nMOLDEX: 3 file\\(s\\) tested\n",
       3},
      {"-n -xf a.qel -R out d/x",
       "MOLDEX: processing archive a.qel\\.\\.\\.\nMOLDEX: 1 file\\(s\\) extracted\n", 1},
      {"-n -tf a.qel d/y", "MOLDEX: processing archive a.qel\\.\\.\\.\n[^\n]+ d/y\n", 1},
  };
  for (const auto& [line, between, files] : cases) {
    const RunResult result = Run(line);
    EXPECT_TRUE(Matches(result.out, release + between + Statistics(files))) << line << result.out;
    EXPECT_EQ(result.status, 0) << line;
  }
}

TEST_F(Reporting, PrintsNoStatisticsAfterAFailure) {
  ExpectRun("-n -c", "MOLDEX: no files given for archiving (error 29). \n", 29);
  Write("a.qel", "VUK");
  const RunResult failed = Run("-n -tf a.qel");
  EXPECT_TRUE(Matches(failed.out,
                      "running MOLDEX in release [^\n]+\nMOLDEX: error reading from "
                      "a.qel \\(error 5\\)\\. \n"))
      << failed.out;
  EXPECT_EQ(failed.status, 5);
}

TEST_F(Reporting, RedirectsAllOutputWithE) {
  Make({{"x", FileNode("1")}, {"moldex_output", FileNode("a longer text from an earlier run\n")}});
  ExpectRun("-e -cvf a.qel x", "", 0);
  EXPECT_EQ(Text("moldex_output"), "a x\n");
  ExpectRun("-e -c", "", 29);
  EXPECT_EQ(Text("moldex_output"), "MOLDEX: no files given for archiving (error 29). \n");
  ExpectRun("-e -q", "MOLDEX: unknown command option q (error 20). \n", 20);  // not yet redirected
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
}

TEST_F(Reporting, FailsWhenTheLogCannotBeWritten) {
  Make({{"moldex.log", DirectoryNode()}, {"x", FileNode("1")}});
  ExpectRun("-e -cf a.qel no x", "", 6);
  EXPECT_EQ(Text("moldex_output"), OpenError("moldex.log", Complaint::kIsDirectory));
}

TEST_F(Reporting, CallsAnythingElseAnInvalidArchive) {
  QelEntry strange = DirectoryEntry("s");
  strange.type = "XX";
  const std::string cases[] = {"VUK 2.01",
                               "VUK_2.00",
                               "vuk 2.00",
                               "some other file",
                               std::string(200, '\0'),
                               BuildArchive({strange})};
  for (const std::string& bytes : cases) {
    Write("old", bytes);
    for (const char* line : {"-tf old", "-df old", "-xf old"}) {
      const RunResult result = Run(line);
      const std::size_t message = result.out.find("MOLDEX: invalid archive old\n");
      ASSERT_NE(message, std::string::npos) << line << result.out;
      EXPECT_EQ(result.out.find("file(s)"), std::string::npos) << line;
      EXPECT_EQ(result.status, 40) << line;
    }
  }
}

TEST_F(Reporting, PrintsNoSummaryOnceAnArchiveWasInvalid) {
  Write("a.qel", BuildArchive({DirectoryEntry("d")}));
  Write("old", "some other file");
  const RunResult result = Run(Words{"-df", "a.qel old a.qel"});
  EXPECT_EQ(result.out, Processing("a.qel") + Tested(1) + "MOLDEX: invalid archive old\n" +
                            Processing("a.qel"));
  EXPECT_EQ(result.status, 40);
}

}  // namespace
}  // namespace moldex::test

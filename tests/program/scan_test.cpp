// The checks before a run: which files are missing, and whether there is room.
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

class Scan : public ProgramTest {
 protected:
  static constexpr char kHead[] = "# MOLDEX: list of missing files\n# ==========================\n";
};

TEST_F(Scan, WritesTheHeadOfTheLogWhenNothingIsMissing) {
  Write("here", "");
  Write("files.log", "from an earlier scan");
  ExpectRun("-l here", "", 0);
  EXPECT_EQ(Text("files.log"), kHead);
}

TEST_F(Scan, ListsMissingNamesInOrderAndAsGiven) {
  Write("here", "");
  Make({{"dir", DirectoryNode()}});
  Write("list", "from-list\nhere\n");
  ExpectRun("-l b here dir/none dir h*re a -A list",
            "MOLDEX: some files are missing. See files.log\n", 0);
  EXPECT_EQ(Text("files.log"), std::string(kHead) + "b\ndir/none\nh*re\na\nfrom-list\n");
}

TEST_F(Scan, LeavesOutExcludedNames) {
  Write("not", "gone\nfolder\n");
  ExpectRun("-l gone ./gone folder/x folderx -X not",
            "MOLDEX: some files are missing. See files.log\n", 0);
  EXPECT_EQ(Text("files.log"), std::string(kHead) + "folderx\n");
}

class Space : public ProgramTest {
 protected:
  // An entry that only says how large it is: a listing looks no further.
  static QelEntry Sized(const std::string& name, std::uint64_t bytes) {
    QelEntry entry;
    entry.name = name;
    entry.size_low = static_cast<std::uint32_t>(bytes);
    entry.size_high = static_cast<std::uint32_t>(bytes >> 32);
    return entry;
  }

  // The report behind the listing of a.qel, with the status that the run ended with.
  std::string Report(const std::string& options, int status) {
    const RunResult result = Run("-tsf a.qel " + options);
    EXPECT_EQ(result.status, status) << result.out;
    const std::size_t start = result.out.find("\n\n");
    return start == std::string::npos ? result.out : result.out.substr(start + 1);
  }

  // Wine shows the file system of this machine as drive Z.
  std::string Here() const { return (OnWindows() ? "Z:" : "") + folder_.Path().string(); }
};

constexpr char kNothingNeeded[] =
    "\nThe extraction does not require free disk space (maybe\n"
    "the extraction will only overwrite existing files of\n"
    "greater or equal size or the uncompressed size of each\n"
    "file in the archive is zero).\n\n";

TEST_F(Space, NeedsNothingWhereFilesAreLargeEnough) {
  Write("a.qel", BuildArchive({Sized("old", 5), Sized("empty", 0), DirectoryEntry("d")}));
  Write("old", "12345");
  EXPECT_EQ(Report("", 0), kNothingNeeded);
}

TEST_F(Space, SumsWhatEachPlaceNeeds) {
  Make({{"d", DirectoryNode()}, {"d/half", FileNode(std::string(1024, 'x'))}});
  Write("a.qel", BuildArchive({Sized("one", 2048), Sized("d/half", 3072), Sized("d/new/x", 1024),
                               Sized("two", 1024)}));
  EXPECT_EQ(Report("", 0),
            "\nThe extraction requires approximately...\n"
            "\t              3 KB in " +
                Here() +
                "\n"
                "\t              3 KB in ./d\n");
  EXPECT_EQ(Report("-R d", 0),
            "\nThe extraction requires approximately...\n"
            "\t              7 KB in d\n");
}

TEST_F(Space, EndsWith30WhereSpaceIsMissing) {
  Make({{"d", DirectoryNode()}});
  Write("a.qel", BuildArchive({Sized("small", 1), Sized("d/huge", std::uint64_t{1} << 60)}));
  const std::string report = Report("", 30);
  EXPECT_EQ(report.rfind("\nThere is free space missing... \n\t", 0), 0u) << report;
  EXPECT_NE(report.find(" KB in ./d\n"), std::string::npos) << report;
  EXPECT_EQ(report.find(Here()), std::string::npos) << "a place that lacks nothing is listed";
}

TEST_F(Space, CountsSelectedEntriesOnlyAndReportsOnceForAllArchives) {
  Write("a.qel", BuildArchive({Sized("yes", 1024), Sized("no", std::uint64_t{1} << 60)}));
  EXPECT_EQ(Report("yes", 0),
            "\nThe extraction requires approximately...\n"
            "\t              1 KB in " +
                Here() + "\n");
  Write("b.qel", BuildArchive({Sized("more", 1024)}));
  const RunResult result = Run("-t -s -f a.qel,b.qel yes more");
  EXPECT_NE(result.out.find("\t              2 KB in "), std::string::npos) << result.out;
}

TEST_F(Space, IsSilentOnceAnArchiveOfAnotherFormatWasMet) {
  Write("a.qel", BuildArchive({Sized("one", 1024)}));
  Write("other", "not an archive at all");
  const RunResult result = Run("-t -s -f a.qel,other");
  EXPECT_EQ(result.out.find("KB in"), std::string::npos) << result.out;
  EXPECT_EQ(result.status, 40);
}

TEST_F(Scan, ReportsALogThatCannotBeWritten) {
  if (OnWindows()) return;  // has no such file
  std::filesystem::create_symlink("/dev/full", Path("files.log"));
  ExpectRun("-l missing",
            "MOLDEX: error writing to files.log (error 4). No space left on device\n"
            "MOLDEX: some files are missing. See files.log\n",
            4, User::kNobody);
}

}  // namespace
}  // namespace moldex::test

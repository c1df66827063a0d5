// Listing: the line of an entry, and which entries are chosen; and the checks before a run: which
// files are missing, and whether there is space.
#include "program/program_test.h"

namespace moldex::test {
namespace {

class List : public ProgramTest {
 protected:
  // The listing of the one archive a.qel holding `entry`.
  std::string LineOf(const QelEntry& entry) {
    Archive({entry});
    const RunResult result = Run("-tf a.qel");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.out.starts_with(Processing("a.qel"))) << result.out;
    return result.out.substr(result.out.find('\n') + 1);
  }
};

TEST_F(List, ShowsKindPermissionsAndAttributes) {
  const std::pair<std::uint32_t, std::string> cases[] = {
      {0x8000, "----------"},     {0x4000, "d---------"},   {0x1000, "l---------"},
      {0x8100, "-r--------"},     {0x8080, "--w-------"},   {0x8040, "---x------"},
      {0x803F, "----------"},     {0x8E00, "----------"},   {0x48000, "----h-----"},
      {0x88000, "-----s----"},    {0x108000, "------a---"}, {0x208000, "-------c--"},
      {0xFFFF4FFF, "drwxhsac--"}, {0x11C0, "lrwx------"}};
  for (const auto& [mode, letters] : cases)
    EXPECT_EQ(LineOf(DirectoryEntry("e", mode)), letters + "           0    07 Jan 2005 13:05 e\n");
}

TEST_F(List, PrintsSizesOf64BitsAndTimesOf32) {
  const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, const char*> cases[] = {
      {0xFFFFFFFF, 0, 0, "  4294967295    01 Jan 1970 00:00"},
      {0, 1, 0x7FFFFFFF, "  4294967296    19 Jan 2038 03:14"},
      {0xD4A50FFF, 0xE8, 0x80000000, "999999999999    19 Jan 2038 03:14"},
      {0xD4A51000, 0xE8, 0xFFFFFFFF, "1000000000000    07 Feb 2106 06:28"},
      {1, 0x200000, 1105103100, "9007199254740993    07 Jan 2005 13:05"}};
  for (const auto& [low, high, time, text] : cases) {
    QelEntry entry = DirectoryEntry("e");
    entry.size_low = low;
    entry.size_high = high;
    entry.time_low = time;
    entry.zero_word = entry.time_high = 0xFFFFFFFF;  // mean nothing here
    EXPECT_EQ(LineOf(entry), std::string("drwx------") + text + " e\n");
  }
}

TEST_F(List, SkipsUserDataBlocksAndTheEntriesAroundThem) {
  QelEntry carrying = FileEntry("f", std::string(5000, 'x'), 0100644, 7);
  carrying.user_data = std::string(65535, 'D');
  QelEntry shortcut = FileEntry("s.lnk", "bytes", 0x11A4);
  shortcut.type = "SC";
  Archive({carrying, FileEntry("empty", ""), shortcut, DirectoryEntry("d")});
  ExpectRun("-tf a.qel",
            Processing("a.qel") +
                "-rw-------        5000    07 Jan 2005 13:05 f\n"
                "-rw-------           0    07 Jan 2005 13:05 empty\n"
                "lrw-------           5    07 Jan 2005 13:05 s.lnk\n"
                "drwx------           0    07 Jan 2005 13:05 d\n",
            0);
}

TEST_F(List, ChoosesEntriesByExactNameOrLastMatchedDirectory) {
  Archive({DirectoryEntry("d"), FileEntry("d/x", ""), DirectoryEntry("d/e"), FileEntry("d/e/y", ""),
           FileEntry("d/z", ""), DirectoryEntry("da"), FileEntry("da/z", ""),
           FileEntry("A.TXT", "")});
  const std::pair<std::string, const char*> cases[] = {
      {"", "d d/x d/e d/e/y d/z da da/z A.TXT"},
      {"d", "d d/x d/e d/e/y d/z"},
      {"d/", ""},
      {"d/x", "d/x"},
      {"d/e da/z", "d/e d/e/y da/z"},
      // Once d/e matched too, it alone widens the choice: d/z, after it, is below d only.
      {"d d/e", "d d/x d/e d/e/y"},
      {"a.txt", ""},
      {"A.TXT", "A.TXT"},
      {"*", ""},
  };
  for (const auto& [operands, names] : cases) {
    std::string expected = Processing("a.qel");
    for (const std::string& name : SplitAtBlanks(names)) {
      const bool is_directory = name == "d" || name == "da" || name == "d/e";
      expected += (is_directory ? "drwx------" : "-rw-------") +
                  std::string("           0    07 Jan 2005 13:05 ") + name + "\n";
    }
    ExpectRun("-tf a.qel " + operands, expected, 0);
    ExpectRun("-tvf a.qel " + operands, expected, 0);
  }
}

using Scan = ProgramTest;

TEST_F(Scan, ListsMissingNamesInOrderAndAsGiven) {
  Make({{"here", FileNode("")}, {"dir", DirectoryNode()}});
  Write("list", "from-list\nhere\n");
  Write("not", "gone\nfolder\n");
  Write("files.log", "from an earlier scan");
  const std::pair<const char*, const char*> cases[] = {
      {"here dir/", ""},
      {"here/", "here/\n"},
      {"b here dir/none dir h*re a -A list", "b\ndir/none\nh*re\na\nfrom-list\n"},
      {"gone ./gone folder/x folderx -X not", "folderx\n"}};
  for (const auto& [names, missing] : cases) {
    const char* message = *missing == '\0' ? "" : "MOLDEX: some files are missing. See files.log\n";
    ExpectRun(std::string("-l ") + names, message, 0);
    EXPECT_EQ(Text("files.log"), "# MOLDEX: list of missing files\n# ==========================\n" +
                                     std::string(missing));
  }
}

TEST_F(Scan, ReportsALogThatCannotBeWritten) {
  if (OnWindows()) return;  // has no such file
  std::filesystem::create_symlink("/dev/full", Path("files.log"));
  ExpectRun("-l missing",
            Failure("error writing to files.log", 4, "No space left on device") +
                "MOLDEX: some files are missing. See files.log\n",
            4, User::kNobody);
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

  // The report after the listing of a.qel, with the status that the run ended with.
  std::string Report(const std::string& options, int status) {
    const RunResult result = Run("-tsf a.qel " + options);
    EXPECT_EQ(result.status, status) << result.out;
    const std::size_t start = result.out.find("\n\n");
    return start == std::string::npos ? result.out : result.out.substr(start + 1);
  }

  // The report of these lines.
  static std::string Requires(const std::string& lines) {
    return "\nThe extraction requires approximately...\n" + lines;
  }
  static std::string Place(int kib, const std::string& name) {
    return "\t              " + std::to_string(kib) + " KB in " + name + "\n";
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
  Archive({Sized("old", 5), Sized("empty", 0), DirectoryEntry("d")});
  Write("old", "12345");
  EXPECT_EQ(Report("", 0), kNothingNeeded);
}

TEST_F(Space, SumsWhatEachPlaceNeeds) {
  Make({{"d", DirectoryNode()}, {"d/half", FileNode(std::string(1024, 'x'))}});
  Archive({Sized("one", 2048), Sized("d/half", 3072), Sized("d/new/x", 1024), Sized("./two", 1024),
           Sized("d//x", 1024), Sized("./d/./x", 1024)});
  EXPECT_EQ(Report("", 0), Requires(Place(3, Here()) + Place(5, "./d")));
  EXPECT_EQ(Report("-R d", 0), Requires(Place(9, "d")));
}

TEST_F(Space, EndsWith30WhereSpaceIsMissing) {
  Make({{"d", DirectoryNode()}});
  Archive({Sized("small", 1), Sized("d/huge", std::uint64_t{1} << 60)});
  const std::string report = Report("", 30);
  EXPECT_EQ(report.rfind("\nThere is free space missing... \n\t", 0), 0u) << report;
  EXPECT_NE(report.find(" KB in ./d\n"), std::string::npos) << report;
  EXPECT_EQ(report.find(Here()), std::string::npos) << "a place that lacks nothing is listed";
}

TEST_F(Space, CountsSelectedEntriesOnlyAndReportsOnceForAllArchives) {
  Archive({Sized("yes", 1024), Sized("no", std::uint64_t{1} << 60)});
  EXPECT_EQ(Report("yes", 0), Requires(Place(1, Here())));
  Write("b.qel", BuildArchive({Sized("more", 1024)}));
  const RunResult result = Run("-t -s -f a.qel,b.qel yes more");
  EXPECT_NE(result.out.find(Place(2, Here())), std::string::npos) << result.out;
}

TEST_F(Space, IsSilentOnceAnArchiveOfAnotherFormatWasMet) {
  Archive({Sized("one", 1024)});
  Write("other", "not an archive at all");
  const RunResult result = Run("-t -s -f a.qel,other");
  EXPECT_EQ(result.out.find("KB in"), std::string::npos) << result.out;
  EXPECT_EQ(result.status, 40);
}

}  // namespace
}  // namespace moldex::test

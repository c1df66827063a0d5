// Listing: the line of an entry, which entries are chosen, several archives.
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

class List : public ProgramTest {
 protected:
  // The listing of the one archive a.qel holding `entry`.
  std::string LineOf(const QelEntry& entry) {
    Write("a.qel", BuildArchive({entry}));
    const RunResult result = Run("-tf a.qel");
    EXPECT_EQ(result.status, 0);
    const std::string processing = Processing("a.qel");
    EXPECT_EQ(result.out.substr(0, processing.size()), processing);
    return result.out.substr(std::min(processing.size(), result.out.size()));
  }
};

TEST_F(List, PrintsTheLineOfAFile) {
  EXPECT_EQ(LineOf(FileEntry("d/notes.txt", "hello", 0100644)),
            "-rw-------           5    07 Jan 2005 13:05 d/notes.txt\n");
}

TEST_F(List, ShowsKindPermissionsAndAttributes) {
  const struct {
    std::uint32_t mode;
    const char* letters;
  } cases[] = {
      {0x8000, "----------"},     {0x4000, "d---------"},   {0x1000, "l---------"},
      {0x8100, "-r--------"},     {0x8080, "--w-------"},   {0x8040, "---x------"},
      {0x803F, "----------"},     {0x8E00, "----------"},   {0x48000, "----h-----"},
      {0x88000, "-----s----"},    {0x108000, "------a---"}, {0x208000, "-------c--"},
      {0xFFFF4FFF, "drwxhsac--"}, {0x11C0, "lrwx------"},
  };
  for (const auto& [mode, letters] : cases) {
    QelEntry entry = DirectoryEntry("e", mode);
    EXPECT_EQ(LineOf(entry), std::string(letters) + "           0    07 Jan 2005 13:05 e\n");
  }
}

TEST_F(List, PrintsSizesAsNumbersOf64Bits) {
  const struct {
    std::uint32_t low;
    std::uint32_t high;
    const char* text;
  } cases[] = {
      {0xFFFFFFFF, 0, "  4294967295"},     {0, 1, "  4294967296"},
      {0x4876E7FF, 0x17, " 99999999999"},  {0xD4A50FFF, 0xE8, "999999999999"},
      {0xD4A51000, 0xE8, "1000000000000"}, {1, 0x200000, "9007199254740993"},
  };
  for (const auto& [low, high, text] : cases) {
    QelEntry entry;
    entry.name = "e";
    entry.size_low = low;
    entry.size_high = high;
    entry.zero_word = 0xFFFFFFFF;  // never part of the size
    EXPECT_EQ(LineOf(entry), std::string("-rw-------") + text + "    07 Jan 2005 13:05 e\n");
  }
}

TEST_F(List, PrintsTimesAsUnsigned32BitSeconds) {
  const struct {
    std::uint32_t time;
    const char* text;
  } cases[] = {{0, "01 Jan 1970 00:00"},
               {0x7FFFFFFF, "19 Jan 2038 03:14"},
               {0x80000000, "19 Jan 2038 03:14"},
               {0xFFFFFFFF, "07 Feb 2106 06:28"}};
  for (const auto& [time, text] : cases) {
    QelEntry entry = DirectoryEntry("e");
    entry.time_low = time;
    entry.time_high = 0xFFFFFFFF;  // means nothing here
    EXPECT_EQ(LineOf(entry), std::string("drwx------           0    ") + text + " e\n");
  }
}

TEST_F(List, SkipsUserDataBlocksAndTheEntriesAroundThem) {
  QelEntry carrying = FileEntry("f", std::string(5000, 'x'), 0100644, 7);
  carrying.user_data = std::string(65535, 'D');
  QelEntry shortcut = FileEntry("s.lnk", "bytes", 0x11A4);
  shortcut.type = "SC";
  Write("a.qel", BuildArchive({carrying, FileEntry("empty", ""), shortcut, DirectoryEntry("d")}));
  ExpectRun("-tf a.qel",
            Processing("a.qel") +
                "-rw-------        5000    07 Jan 2005 13:05 f\n"
                "-rw-------           0    07 Jan 2005 13:05 empty\n"
                "lrw-------           5    07 Jan 2005 13:05 s.lnk\n"
                "drwx------           0    07 Jan 2005 13:05 d\n",
            0);
}

TEST_F(List, ChoosesEntriesByExactNameOrLastMatchedDirectory) {
  Write("a.qel", BuildArchive({DirectoryEntry("d"), FileEntry("d/x", ""), DirectoryEntry("d/e"),
                               FileEntry("d/e/y", ""), DirectoryEntry("da"), FileEntry("da/z", ""),
                               FileEntry("A.TXT", "")}));
  const struct {
    const char* operands;
    std::vector<std::string> names;
  } cases[] = {
      {"", {"d", "d/x", "d/e", "d/e/y", "da", "da/z", "A.TXT"}},
      {"d", {"d", "d/x", "d/e", "d/e/y"}},
      {"d/", {}},
      {"d/x", {"d/x"}},
      {"d/e da/z", {"d/e", "d/e/y", "da/z"}},
      {"d d/e", {"d", "d/x", "d/e", "d/e/y"}},
      {"a.txt", {}},
      {"-g a.txt", {}},
      {"A.TXT", {"A.TXT"}},
      {"*", {}},
  };
  for (const auto& [operands, names] : cases) {
    std::string expected = Processing("a.qel");
    for (const std::string& name : names) {
      const bool is_directory = name == "d" || name == "da" || name == "d/e";
      expected += (is_directory ? "drwx------" : "-rw-------") +
                  std::string("           0    07 Jan 2005 13:05 ") + name + "\n";
    }
    ExpectRun(std::string("-tf a.qel ") + operands, expected, 0);
    ExpectRun(std::string("-tvf a.qel ") + operands, expected, 0);
  }
}

TEST_F(List, ForgetsALongerMatchedDirectoryForTheNext) {
  // Once d/e matched too, it alone widens the choice: d/z, behind it, is below d only.
  Write("a.qel", BuildArchive({DirectoryEntry("d"), DirectoryEntry("d/e"), FileEntry("d/e/y", ""),
                               FileEntry("d/z", "")}));
  const std::string both = Run("-tf a.qel d d/e").out;
  EXPECT_NE(both.find(" d/e/y\n"), std::string::npos);
  EXPECT_EQ(both.find(" d/z\n"), std::string::npos);
  EXPECT_NE(Run("-tf a.qel d").out.find(" d/z\n"), std::string::npos);
}

TEST_F(List, GoesOnAfterAnArchiveItCannotOpen) {
  Write("a.qel", BuildArchive({}));
  const RunResult result = Run(Words{"-tf", "a.qel no.qel a.qel"});
  EXPECT_EQ(result.out, Processing("a.qel") +
                            "MOLDEX: error opening no.qel (error 6). No such file or directory\n" +
                            Processing("a.qel"));
  EXPECT_EQ(result.status, 6);
}

TEST_F(List, TakesAValueThatNamesAFileAsThatFile) {
  Write("my a.qel", BuildArchive({}));
  const RunResult result = Run(Words{"-tf", "my a.qel"});
  EXPECT_EQ(result.out, Processing("my a.qel"));
  EXPECT_EQ(result.status, 0);
}

TEST_F(List, TakesTheDefaultArchiveWithoutF) {
  ExpectRun("-t", "MOLDEX: error opening DEFAULT.QEL (error 6). No such file or directory\n", 6);
  Write("DEFAULT.QEL", BuildArchive({}));
  ExpectRun("-t", Processing("DEFAULT.QEL"), 0);
}

}  // namespace
}  // namespace moldex::test

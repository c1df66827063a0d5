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
  const struct {
    std::uint32_t low;
    std::uint32_t high;
    std::uint32_t time;
    const char* text;
  } cases[] = {{0xFFFFFFFF, 0, 0, "  4294967295    01 Jan 1970 00:00"},
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
      {"a.txt", {}},
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

}  // namespace
}  // namespace moldex::test

// Merging two archives: what is copied, what is refused, and that nothing is looked into.
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

class Merge : public ProgramTest {};

TEST_F(Merge, PutsTheSourcesEntriesBehindTheTargets) {
  Write("s.qel", BuildArchive({FileEntry("new", "of the source")}));
  Write("t.qel", BuildArchive({DirectoryEntry("d"), FileEntry("old", "of the target")}));
  const std::string source = Bytes("s.qel");
  ExpectRun("-mf s.qel,t.qel", "", 0);
  EXPECT_EQ(NamesOf(Entries("t.qel")), (std::vector<std::string>{"d", "old", "new"}));
  EXPECT_EQ(Bytes("s.qel"), source);
  ExpectRun("-df t.qel", Processing("t.qel") + Tested(3), 0);
}

TEST_F(Merge, CopiesEveryByteBehindTheHeaderUnread) {
  // Neither file is an archive; lengths around the size of one copied piece.
  for (const std::size_t length : {8u, 9u, 65536u + 7u, 65536u + 8u, 65536u + 9u, 200000u}) {
    std::string source(length, '\0');
    for (std::size_t i = 0; i < length; ++i)
      source[i] = static_cast<char>(i * 31 + i / 251);
    Write("s", source);
    Write("t", "x");
    ExpectRun("-m -v -f s,t", "", 0);
    EXPECT_EQ(Bytes("t"), "x" + source.substr(8)) << length;
  }
}

TEST_F(Merge, KeepsUserDataReservedFieldsAndUnknownModeBits) {
  QelEntry odd = FileEntry("odd", "content");
  odd.mode = 0xF8000000u | 0100644u;
  odd.reserved = 0xDEADBEEF;
  odd.user_data = std::string("\0\1\2user", 7);
  Write("s.qel", BuildArchive({odd}));
  Write("t.qel", BuildArchive({}));
  ExpectRun("-mf s.qel,t.qel", "", 0);
  EXPECT_EQ(Bytes("t.qel"), Bytes("s.qel"));
}

TEST_F(Merge, RefusesAnythingButTwoArchives) {
  const std::string message =
      "MOLDEX: merging only supported for exactly two archives (error 100). \n";
  ExpectRun("-mf one.qel", message, 100);
  ExpectRun("-mf a.qel,b.qel,c.qel", message, 100);
  EXPECT_TRUE(Below(".").empty());
}

TEST_F(Merge, RefusesAnArchiveMergedWithItselfUnderAnyName) {
  const std::string archive = BuildArchive({FileEntry("f", "content")});
  Write("a.qel", archive);
  std::filesystem::create_symlink("a.qel", Path("link.qel"));
  std::filesystem::create_hard_link(Path("a.qel"), Path("hard.qel"));
  for (const std::string other : {"a.qel", "./a.qel", "link.qel", "hard.qel"}) {
    ExpectRun("-mf a.qel," + other,
              "MOLDEX: an archive can not be merged with itself: " + other + " (error 58). \n", 58);
    EXPECT_EQ(Bytes("a.qel"), archive);
  }
}

TEST_F(Merge, ReportsWhatIsMissingOrTooShort) {
  Write("s.qel", BuildArchive({}));
  ExpectRun("-mf none.qel,s.qel", OpenError("none.qel"), 6);
  ExpectRun("-mf s.qel,none.qel", OpenError("none.qel"), 6);
  EXPECT_FALSE(Exists("none.qel"));
  Write("short.qel", "VUK 2.0");
  ExpectRun("-mf short.qel,s.qel", "MOLDEX: error reading from short.qel (error 5). \n", 5);
}

}  // namespace
}  // namespace moldex::test

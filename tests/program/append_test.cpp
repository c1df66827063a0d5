// Appending: what was there stays as it was, whatever happens.
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

using Append = ProgramTest;
using Names = std::vector<std::string>;

TEST_F(Append, AddsBehindTheLastByte) {
  Make({{"d/x", FileNode("one")}, {"y", FileNode("two")}});
  ExpectRun("-cf a.qel d", "", 0);
  const std::string before = Bytes("a.qel");
  ExpectRun("-avf a.qel y d", "a y\na d\na d/x\n", 0);
  EXPECT_EQ(Bytes("a.qel").substr(0, before.size()), before);
  EXPECT_EQ(NamesOf(Entries("a.qel")), (Names{"d", "d/x", "y", "d", "d/x"}));
  ExpectBegins("-df a.qel", Processing("a.qel") + Tested(5), 0);
}

TEST_F(Append, NeverAddsTheArchiveToItself) {
  Make({{"y", FileNode("two")}});
  Write("a.qel", BuildArchive({}));
  ExpectRun("-af a.qel ./a.qel .", "", 0);
  EXPECT_EQ(NamesOf(Entries("a.qel")), Names{"./y"});
}

TEST_F(Append, LeavesFilesThatAreNoArchivesUntouched) {
  Make({{"y", FileNode("two")}});
  for (const char* content : {"just a text", "VUK 2.01", "VUK 2.0", "vuk 2.00", "VUK_2.00", ""}) {
    Write("notes.txt", content);
    const RunResult result = Run("-af notes.txt y");
    if (std::string(content).size() >= 8) {
      EXPECT_EQ(result.out, "MOLDEX: invalid archive notes.txt\n");
      EXPECT_EQ(result.status, 40);
    }
    EXPECT_NE(result.status, 0) << content;
    EXPECT_EQ(Bytes("notes.txt"), content);
  }
}

TEST_F(Append, NeedsAnArchiveThatIsThere) {
  Make({{"y", FileNode("two")}});
  ExpectRun("-af no.qel y", OpenError("no.qel"), 6);
  EXPECT_FALSE(Exists("no.qel"));
}

TEST_F(Append, CutsBackToTheOldLengthWhenAFileIsInaccessible) {
  Make({{"y", FileNode("two")}});
  const std::string before = BuildArchive({FileEntry("old", "content")});
  Write("a.qel", before);
  ExpectRun("-af a.qel y no y", "MOLDEX: inaccessible file no\n", 44);
  EXPECT_EQ(Bytes("a.qel"), before);
  ExpectRun("-aif a.qel y no", "MOLDEX: inaccessible file no\n", 44);
  EXPECT_EQ(NamesOf(Entries("a.qel")), (Names{"old", "y"}));
}

}  // namespace
}  // namespace moldex::test

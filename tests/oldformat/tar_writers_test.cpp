// Archives as GNU tar and bsdtar write them, in every tar format that they have: extracted, listed
// and verified like the program's own.
#include <chrono>
#include <cstdlib>
#include <fstream>

#include "program/program_test.h"

namespace moldex::test {
namespace {

// By the names that they can write: of up to 99 bytes, of two parts up to 255, and any.
const Words kShortNames = {"tar --format=v7", "bsdtar --format=v7tar", "bsdtar --format=oldtar"};
const Words kTwoParts = {"tar --format=ustar", "bsdtar --format=ustar"};
const Words kAnyNames = {"tar --format=oldgnu",    "tar --format=gnu",    "tar --format=posix",
                         "bsdtar --format=gnutar", "bsdtar --format=pax", "bsdtar --format=paxr"};

class TarWriters : public ProgramTest {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(std::system("tar --version >/dev/null && bsdtar --version >/dev/null"), 0);
  }

  // Tests the archive that each makes of the operands.
  template <typename Test>
  void ForEach(const Words& writers, const std::string& operands, Test test) const {
    for (const std::string& writer : writers) {
      SCOPED_TRACE(writer);
      Remove("out");
      const std::string command = "cd '" + Name("") + "' && LC_ALL=C.UTF-8 " + writer +
                                  " -cf a.tar " + operands + " 2>tar.err";
      ASSERT_EQ(std::system(command.c_str()), 0) << Bytes("tar.err");
      test();
    }
  }
};

TEST_F(TarWriters, BringATreeBack) {
  const std::string part(49, 'p');
  const std::string longest = "d/" + std::string(200, 'u') + "/" + std::string(200, 'v');
  const auto expect_back = [this] {
    ExpectRun("-xf a.tar -R out", Processing("a.tar"), 0, User::kNobody);
    EXPECT_EQ(Below("out/d"), AsExtracted(Below("d")));
    ExpectRun("-df a.tar", Processing("a.tar"), 0);
    const std::string listing = Run("-tf a.tar").out;
    for (const auto& [name, node] : Below("d"))
      EXPECT_NE(listing.find(" d/" + name + "\n"), std::string::npos) << name;
  };
  Make({{"d/text", FileNode(Numbers(30000), 0640, 1234567890)},
        {"d/empty", FileNode("", 0604, 1)},
        {"d/block", FileNode(std::string(512, 'b'), 0755, 0x7FFFFFFF)},
        {"d/\xC3\xA4\xE2\x82\xAC", FileNode("umlaut and euro")},
        {"d/ blank", FileNode("1")},
        {"d/closed", DirectoryNode(0500)},
        {"d/closed/x", FileNode("x", 0400)},
        {"d/void", DirectoryNode(0711)},
        {"d/" + part + "/" + std::string(46, 'q'), FileNode("99 bytes")}});
  ForEach(kShortNames, "d", expect_back);
  Make({{"d/" + part + "/" + std::string(48, 'r'), FileNode("100 bytes")},
        {"d/" + part + "/" + part + "/" + part + "/" + std::string(99, 's'), FileNode("long")},
        {"d/" + std::string(98, 'm') + "/x", DirectoryNode()}});
  ForEach(kTwoParts, "d", expect_back);
  Make({{longest, FileNode("over 400 bytes", 0644, 1000000000)},
        {longest + "w/" + std::string(250, 'x'), DirectoryNode(0700)},
        {"d/late", FileNode("1", 0644, 0xF0000000)}});
  ForEach(kAnyNames, "d", expect_back);
}

TEST_F(TarWriters, DatesOutsideTheRangeAndFractionsGoToTheNearestSecond) {
  Make({{"old", FileNode("1", 0644, -5)}, {"part", FileNode("2", 0644, 1105103100)}});
  const auto part = Path("part");
  last_write_time(part, last_write_time(part) + std::chrono::milliseconds(987));
  ForEach(kAnyNames, "old part", [this] {
    ExpectRun("-xf a.tar -R out", Processing("a.tar"), 0);
    EXPECT_EQ(Below("out"), (Tree{{"old", FileNode("1", 0644, 0)}, {"part", FileNode("2")}}));
    ExpectRun("-tf a.tar",
              Processing("a.tar") + "-rw-------           1    01 Jan 1970 00:00 old\n" +
                  "-rw-------           1    07 Jan 2005 13:05 part\n",
              0);
  });
}

TEST_F(TarWriters, LinksAreReportedAndLeftOut) {
  Make({{"d/file", FileNode("1")}, {"d/soft", SymlinkNode("file")}});
  std::filesystem::create_hard_link(Path("d/file"), Path("d/hard"));
  const auto expect_none = [this] {
    ExpectRun("-xf a.tar -R out",
              Processing("a.tar") + Failure("hard link left out: d/hard -> d/file", 40) +
                  Failure("symbolic link left out: d/soft -> file", 40),
              40);
    EXPECT_EQ(Listing("out"), "d/file=1");
    const std::string listing = Run("-tf a.tar").out;
    for (const char* line : {"\nlrw-------           0    07 Jan 2005 13:05 d/hard\n", " d/soft\n"})
      EXPECT_NE(listing.find(line), std::string::npos) << listing;
    ExpectRun("-dvf a.tar", Processing("a.tar") + "d d/file\nd d/hard\nd d/soft\n", 0);
  };
  for (const Words& writers : {kShortNames, kTwoParts, kAnyNames})
    ForEach(writers, "d/file d/hard d/soft", expect_none);
}

TEST_F(TarWriters, SparseFilesAndFifosAreLeftOutAndWhatFollowsIsNot) {
  Make({{"fifo", FifoNode()}, {"last", FileNode("1")}});
  std::ofstream sparse(Path("sparse"), std::ios::binary);
  for (int i = 1; i < 40; ++i)  // more parts than one header holds
    sparse.seekp(i * 65536) << "part";
  sparse.close();
  Words writers = kAnyNames;
  for (std::string& writer : writers)
    if (writer.starts_with("tar")) writer += " -S";
  ForEach(writers, "fifo sparse last", [this] {
    const RunResult run = Run("-xf a.tar -R out");
    EXPECT_NE(run.out.find(Failure("FIFO left out: fifo", 40)), std::string::npos);
    EXPECT_EQ(run.status, 40);
    const bool as_parts = Bytes("a.tar").size() < 1'000'000;
    EXPECT_EQ(run.out.find("sparse file left out: sparse") != std::string::npos, as_parts);
    EXPECT_EQ(Exists("out/sparse"), !as_parts);
    EXPECT_EQ(Bytes("out/last"), "1");
    const std::string size = std::to_string(39 * 65536 + 4);
    EXPECT_NE(Run("-tf a.tar").out.find("     " + size), std::string::npos);
  });
}

}  // namespace
}  // namespace moldex::test

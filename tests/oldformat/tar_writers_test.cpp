// Archives as GNU tar and bsdtar write them, in every tar format that they have: extracted, listed
// and verified like the program's own.
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "program/program_test.h"

namespace moldex::test {
namespace {

enum class Names { kShort, kPrefixed, kAny };  // up to 99 bytes; two parts up to 255; any

struct Writer {
  const char* name;
  const char* command;
  Names names;
};

// How gtest shows a writer.
void PrintTo(const Writer& writer, std::ostream* out) { *out << writer.command; }

const Writer kWriters[] = {
    {"GnuV7", "tar --format=v7", Names::kShort},
    {"GnuOldGnu", "tar --format=oldgnu", Names::kAny},
    {"GnuGnu", "tar --format=gnu", Names::kAny},
    {"GnuUstar", "tar --format=ustar", Names::kPrefixed},
    {"GnuPax", "tar --format=posix", Names::kAny},
    {"BsdV7", "bsdtar --format=v7tar", Names::kShort},
    {"BsdOld", "bsdtar --format=oldtar", Names::kShort},
    {"BsdUstar", "bsdtar --format=ustar", Names::kPrefixed},
    {"BsdGnu", "bsdtar --format=gnutar", Names::kAny},
    {"BsdPax", "bsdtar --format=pax", Names::kAny},
    {"BsdPaxRestricted", "bsdtar --format=paxr", Names::kAny},
};

class TarWriters : public ProgramTest, public ::testing::WithParamInterface<Writer> {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(std::system("tar --version >/dev/null && bsdtar --version >/dev/null"), 0);
  }

  void Pack(const std::string& operands) const {
    const std::string command = "cd '" + folder_.Path().string() + "' && LC_ALL=C.UTF-8 " +
                                GetParam().command + " -cf a.tar " + operands + " 2>tar.err";
    ASSERT_EQ(std::system(command.c_str()), 0) << Bytes("tar.err");
  }
};

// Those that can write any name can write other things, too.
class TarWritersOfAnything : public TarWriters {};

TEST_P(TarWriters, BringATreeBack) {
  const std::string part(49, 'p');
  Tree tree = {{"d/text", FileNode(Numbers(30000), 0640, 1234567890)},
               {"d/empty", FileNode("", 0604, 1)},
               {"d/block", FileNode(std::string(512, 'b'), 0755, 0x7FFFFFFF)},
               {"d/\xC3\xA4\xE2\x82\xAC", FileNode("umlaut and euro")},
               {"d/ blank", FileNode("1")},
               {"d/closed", DirectoryNode(0500)},
               {"d/closed/x", FileNode("x", 0400)},
               {"d/void", DirectoryNode(0711)},
               {"d/" + part + "/" + std::string(46, 'q'), FileNode("99 bytes")}};
  if (GetParam().names != Names::kShort) {
    tree["d/" + part + "/" + std::string(48, 'r')] = FileNode("100 bytes");
    tree["d/" + part + "/" + part + "/" + part + "/" + std::string(99, 's')] = FileNode("long");
    tree["d/" + std::string(98, 'm') + "/x"] = DirectoryNode();
  }
  if (GetParam().names == Names::kAny) {
    const std::string longest = "d/" + std::string(200, 'u') + "/" + std::string(200, 'v');
    tree[longest] = FileNode("over 400 bytes", 0644, 1000000000);
    tree[longest + "w/" + std::string(250, 'x')] = DirectoryNode(0700);
    tree["d/late"] = FileNode("1", 0644, 0xF0000000);
  }
  Make(tree);
  Pack("d");
  const Tree before = Below("d");
  ExpectRun("-xf a.tar -R out", Processing("a.tar"), 0, User::kNobody);
  EXPECT_EQ(Below("out/d"), AsExtracted(before));
  ExpectRun("-df a.tar", Processing("a.tar"), 0);
  const std::string listing = Run("-tf a.tar").out;
  for (const auto& [name, node] : before)
    EXPECT_NE(listing.find(" d/" + name + "\n"), std::string::npos) << name;
}

TEST_P(TarWritersOfAnything, DatesOutsideTheRangeAndFractionsGoToTheNearestSecond) {
  Make({{"old", FileNode("1", 0644, -5)}, {"part", FileNode("2", 0644, 1105103100)}});
  const auto part = Path("part");
  last_write_time(part, last_write_time(part) + std::chrono::milliseconds(987));
  Pack("old part");
  ExpectRun("-xf a.tar -R out", Processing("a.tar"), 0);
  EXPECT_EQ(Below("out"), (Tree{{"old", FileNode("1", 0644, 0)}, {"part", FileNode("2")}}));
  ExpectRun("-tf a.tar",
            Processing("a.tar") + "-rw-------           1    01 Jan 1970 00:00 old\n" +
                "-rw-------           1    07 Jan 2005 13:05 part\n",
            0);
}

TEST_P(TarWriters, LinksAreReportedAndLeftOut) {
  Make({{"d/file", FileNode("1")}, {"d/soft", SymlinkNode("file")}});
  std::filesystem::create_hard_link(Path("d/file"), Path("d/hard"));
  Pack("d/file d/hard d/soft");
  ExpectRun("-xf a.tar -R out",
            Processing("a.tar") + "MOLDEX: hard link left out: d/hard -> d/file (error 40). \n" +
                "MOLDEX: symbolic link left out: d/soft -> file (error 40). \n",
            40);
  EXPECT_EQ(Below("out/d"), (Tree{{"file", FileNode("1")}}));
  const std::string listing = Run("-tf a.tar").out;
  for (const char* line : {"\nlrw-------           0    07 Jan 2005 13:05 d/hard\n", " d/soft\n"})
    EXPECT_NE(listing.find(line), std::string::npos) << listing;
  ExpectRun("-dvf a.tar", Processing("a.tar") + "d d/file\nd d/hard\nd d/soft\n", 0);
}

TEST_P(TarWritersOfAnything, SparseFilesAndFifosAreLeftOutAndWhatFollowsIsNot) {
  Make({{"fifo", FifoNode()}, {"last", FileNode("1")}});
  {
    std::ofstream sparse(Path("sparse"), std::ios::binary);
    for (int i = 1; i < 40; ++i)  // more parts than one header holds
      sparse.seekp(i * 65536) << "part";
  }
  Pack(std::string(GetParam().command).starts_with("tar") ? "-S fifo sparse last"
                                                          : "fifo sparse last");
  const RunResult run = Run("-xf a.tar -R out");
  EXPECT_NE(run.out.find("MOLDEX: FIFO left out: fifo (error 40). \n"), std::string::npos);
  EXPECT_EQ(run.status, 40);
  const bool as_parts = Bytes("a.tar").size() < 1'000'000;
  EXPECT_EQ(run.out.find("sparse file left out: sparse") != std::string::npos, as_parts);
  EXPECT_EQ(Exists("out/sparse"), !as_parts);
  EXPECT_EQ(Bytes("out/last"), "1");
  const std::string size = std::to_string(39 * 65536 + 4);
  EXPECT_NE(Run("-tf a.tar").out.find("     " + size), std::string::npos);
}

const auto kNameOf = [](const auto& writer) { return writer.param.name; };

std::vector<Writer> WritersOfAnything() {
  std::vector<Writer> writers(std::begin(kWriters), std::end(kWriters));
  std::erase_if(writers, [](const Writer& writer) { return writer.names != Names::kAny; });
  return writers;
}

INSTANTIATE_TEST_SUITE_P(Formats, TarWriters, ::testing::ValuesIn(kWriters), kNameOf);
INSTANTIATE_TEST_SUITE_P(Formats, TarWritersOfAnything, ::testing::ValuesIn(WritersOfAnything()),
                         kNameOf);

}  // namespace
}  // namespace moldex::test

// What to do about a failure: said to somebody at a terminal, and to nobody else.
#include <string>

#include "program/program_test.h"
#include "support/terminal.h"

namespace moldex::test {
namespace {

using Hint = ProgramTest;

constexpr char kUsage[] = "moldex without arguments prints its options, with examples";
constexpr char kShort[] =
    "the file is too short to be an archive; it may be a copy that was broken off";
constexpr char kNoHint[] = "";

TEST_F(Hint, FollowsTheFailureOnATerminalOnly) {
  if (OnWindows()) GTEST_SKIP() << "the tests have no console there";
  QelEntry damaged = FileEntry("x", "some text");
  damaged.checksum ^= 1;
  Write("damaged.qel", BuildArchive({damaged}));
  const std::string whole = BuildArchive({FileEntry("y", "other text")});
  Write("whole.qel", whole);
  Write("cut.qel", whole.substr(0, whole.size() - 1));
  Write("short", whole.substr(0, 7));
  Write("text", "some other file");
  Make({{"d/y", DirectoryNode()}, {"dangling", SymlinkNode("nowhere")}});
  const struct {
    const char* line;
    const char* hint;
  } cases[] = {
      {"-q", kUsage},
      {"-cf", kUsage},
      {"-cf new.qel", kUsage},
      {"-f new.qel text", kUsage},
      {"-cf new.qel -p x text", "-p takes permissions in octal digits, such as -p 644"},
      {"-cf new.qel no text", "-i leaves such files out and keeps the archive"},
      {"-icf new.qel no text", kNoHint},
      {"-cf new.qel dangling", "-r stores links themselves, whatever they point to"},
      {"-af text text", "only a .QEL archive can be appended to; -c makes one"},
      {"-af missing.qel text", "-c makes a new archive"},
      {"-tf text", "archives to read are .QEL archives, and tar archives that are not compressed"},
      {"-xf whole.qel no", "moldex -tf ARCHIVE lists the names as they have to be given"},
      {"-df damaged.qel",
       "the archive is damaged there; its other entries can still be extracted by their names"},
      {"-tf cut.qel", "moldex -df ARCHIVE says where its good part ends"},
      {"-df cut.qel", kNoHint},
      {"-tf short", kShort},
      {"-df short", kShort},
      {"-xf whole.qel -R d", "-R DIRECTORY extracts somewhere else"},
      {"-mf whole.qel", "-m takes both archives in one value: -mf \"SOURCE TARGET\""},
      {"-tf no.qel", kNoHint},
      {"-tf whole.qel -A /proc/self/mem", kNoHint},  // it is the list that cannot be read
      {"-e -tf text", kNoHint},                      // the message is elsewhere
      {"-tf whole.qel", kNoHint},
  };
  for (const auto& [line, hint] : cases) {
    const std::string out = Run(line).out;  // holds that there is no error output
    EXPECT_EQ(out.find("hint: "), std::string::npos) << line;
    const std::string hint_line = hint == kNoHint ? "" : "hint: " + std::string(hint) + "\r\n";
    EXPECT_EQ(RunAt({80, "out", {}}, folder_.Path(), SplitAtBlanks(line)).bytes, hint_line) << line;
    EXPECT_EQ(Bytes("out"), out) << line;
  }
}

}  // namespace
}  // namespace moldex::test

// Hints at a way out of a failure: for a person at a terminal, and for nobody else.
#include <string>

#include "program/program_test.h"
#include "support/terminal.h"

namespace moldex::test {
namespace {

using Hint = ProgramTest;

constexpr char kUsage[] = "moldex without arguments prints its options, with examples";
constexpr char kShort[] = "the file is too short to be an archive; it may be an incomplete copy";
constexpr char kNoName[] = "no: No such file or directory";
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
    const char* before = kNoHint;  // a hint that comes before it
  } cases[] = {
      {"-q", kUsage},
      {"-cf", kUsage},
      {"-cf new.qel", kUsage},
      {"-f new.qel text", kUsage},
      {"-cf new.qel -p x text", "-p takes permissions in octal digits, such as -p 644"},
      {"-cPf new.qel text", kUsage, "-P stands alone, outside of groups of letters"},
      {"-cf new.qel no text",
       "the archive was not kept; -i keeps it, without the inaccessible files", kNoName},
      {"-icf new.qel no text", kNoName},
      {"-icf new.qel no* text", "no*: no name matches"},
      {"-cf new.qel d/../text d/../short",
       "names with \"..\" in them were stored; extraction refuses them unless -P is given"},
      {"-cf new.qel dangling", "-r stores links themselves, whatever they point to"},
      {"-af text text", "only a .QEL archive can be appended to; -c makes one"},
      {"-af missing.qel text", "-c makes a new archive"},
      {"-tf text", "moldex reads .QEL archives, and tar archives that are not compressed"},
      {"-xf whole.qel no", "moldex -tf ARCHIVE lists the names to use", "no entry has the name no"},
      {"-tf whole.qel,whole.qel y no", "no entry has the name no"},
      {"-df damaged.qel",
       "the archive is damaged there; its other entries can still be extracted by their names"},
      {"-tf cut.qel", "moldex -df ARCHIVE says where the good part ends"},
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
  for (const auto& [line, hint, before] : cases) {
    const std::string out = Run(line).out;  // holds that there is no error output
    EXPECT_EQ(out.find("hint: "), std::string::npos) << line;
    std::string hints;
    for (const char* text : {before, hint}) {
      if (text != kNoHint) hints += "hint: " + std::string(text) + "\r\n";
    }
    EXPECT_EQ(RunAt({80, "out", {}}, folder_.Path(), SplitAtBlanks(line)).bytes, hints) << line;
    EXPECT_EQ(Bytes("out"), out) << line;
  }
}

// Presses Ctrl-C when an entry of 4 GiB was named.
TEST_F(Hint, SaysWhatAnInterruptedRunHasLeft) {
  if (OnWindows()) GTEST_SKIP() << "the tests have no console there";
  Make({{"big", FileNode("")}, {"small", FileNode("1")}});
  std::filesystem::resize_file(Path("big"), std::uintmax_t{4} << 30);
  Write("a.qel",
        BuildArchive({FileEntry("x", "1"), FileEntry("big", std::string(64 << 20, '\0'))}));
  const std::pair<const char*, const char*> cases[] = {
      {"-cvf new.qel small big", "hint: new.qel was left with its complete entries, the first "},
      {"-cvf new.qel big", "hint: new.qel was deleted, since no entry was complete"},
      {"-xvf a.qel -R out", " of 67108864 bytes\r\nhint: 1 file(s) were extracted before that"}};
  for (const auto& [line, hint] : cases) {
    const auto typed = [](const std::string& bytes) {
      return std::string(bytes.ends_with(" big\r\n") ? "\x03" : "");
    };
    const TerminalRun run = RunAt({80, {}, typed}, folder_.Path(), SplitAtBlanks(line));
    EXPECT_EQ(run.status, 130) << line;
    EXPECT_NE(run.bytes.find(hint), std::string::npos) << line << run.bytes;
  }
}

}  // namespace
}  // namespace moldex::test

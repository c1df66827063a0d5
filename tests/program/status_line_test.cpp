// The line that shows at a terminal how far long work has got: it is there, it is cut to the
// terminal, and only its last state is left after the run. Nobody but a terminal ever sees it.
//
// The work is made long by a named pipe that is read or written slowly.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "program/program_test.h"
#include "support/noise.h"
#include "support/terminal.h"

namespace moldex::test {
namespace {

constexpr std::size_t kPieceBytes = 32 * 1024;
constexpr std::chrono::milliseconds kPause{20};

// A named pipe whose other end a thread serves, piece by piece, while this lives.
class SlowPipe {
 public:
  SlowPipe(std::filesystem::path path, int flags) : path_(std::move(path)) {
    (void)mkfifo(path_.c_str(), 0600);
    end_ = open(path_.c_str(), flags | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(end_, 0);
  }
  SlowPipe(const SlowPipe&) = delete;
  SlowPipe& operator=(const SlowPipe&) = delete;
  ~SlowPipe() { Stop(); }

  void Feed(const std::string& bytes) {
    thread_ = std::thread([this, bytes] {
      for (std::size_t at = 0; at < bytes.size() && !stopped_;) {
        const std::size_t piece = std::min(kPieceBytes, bytes.size() - at);
        at += static_cast<std::size_t>(std::max<ssize_t>(write(end_, &bytes[at], piece), 0));
        std::this_thread::sleep_for(kPause);
      }
      (void)close(std::exchange(end_, -1));  // the end of the file for the reader
    });
  }

  void Drain() {
    thread_ = std::thread([this] {
      std::vector<char> piece(kPieceBytes);
      for (bool last = false, more = true; more;) {
        last = stopped_;
        const ssize_t count = std::max<ssize_t>(read(end_, piece.data(), piece.size()), 0);
        drained_.append(piece.data(), static_cast<std::size_t>(count));
        more = !last || count > 0;
        if (!last) std::this_thread::sleep_for(kPause);
      }
    });
  }

  // After the run. Returns what was drained.
  const std::string& Stop() {
    stopped_ = true;
    if (thread_.joinable()) thread_.join();
    if (end_ >= 0) (void)close(std::exchange(end_, -1));
    return drained_;
  }

 private:
  std::filesystem::path path_;
  int end_ = -1;
  std::atomic<bool> stopped_ = false;
  std::thread thread_;
  std::string drained_;
};

class StatusLine : public ProgramTest {
 protected:
  void SetUp() override {
    if (OnWindows()) GTEST_SKIP() << "the tests have no console there";
  }

  // An archive of four entries, of which a slow pipe gives the third alone for about a second.
  std::string LongArchive(const std::string& name) {
    std::string text = Noise(1'800'000, 1);
    for (char& c : text)
      c &= 0x3F;
    const std::string part = text.substr(0, 250'000);
    return BuildArchive({FileEntry(name + "a", part), FileEntry(name + "b", part),
                         FileEntry(name + "c", text), FileEntry(name + "d", part)});
  }

  // Runs at a terminal with the archive coming through the pipe "p".
  TerminalRun RunFed(const Terminal& terminal, const Words& arguments, const std::string& archive) {
    SlowPipe pipe(Path("p"), O_RDWR);
    pipe.Feed(archive);
    return RunAt(terminal, folder_.Path(), arguments);
  }
};

using Lines = std::vector<std::string>;

// The states of the line: what stands between two "\r" and is not blank.
Lines States(const std::string& bytes) {
  Lines states;
  std::size_t at = 0;
  while (at < bytes.size()) {
    const std::size_t end = std::min(bytes.find_first_of("\r\n", at), bytes.size());
    const std::string piece = bytes.substr(at, end - at);
    if (piece.starts_with("  ") && piece.find_first_not_of(' ') != std::string::npos) {
      states.push_back(piece);
    }
    at = end + 1;
  }
  return states;
}

void ExpectShown(const TerminalRun& run, std::string_view part) {
  const Lines states = States(run.bytes);
  EXPECT_TRUE(
      std::any_of(states.begin(), states.end(),
                  [&](const std::string& state) { return state.find(part) != std::string::npos; }))
      << part << " in " << run.bytes;
  EXPECT_LE(static_cast<double>(states.size()), run.seconds * 10 + 1);
}

// The screen without the figures of the work, which must be there and begin like this.
Lines BeforeFigures(const TerminalRun& run, const std::string& figures, std::size_t columns = 80) {
  Lines screen = ScreenOf(run.bytes, columns);
  for (Lines::iterator line = screen.begin(); line != screen.end(); ++line) {
    if (!line->starts_with(figures.substr(0, columns - 1))) continue;
    screen.erase(line);
    return screen;
  }
  ADD_FAILURE() << figures << " not in " << run.bytes;
  return screen;
}

constexpr char kUnpacked[] = "  1.9 MB unpacked to 2.5 MB (75.7 %), ";

TEST_F(StatusLine, ShowsHowFarVerifyingIsAndLeavesItsFigures) {
  const struct {
    const char* name;
    unsigned short columns;
    const char* shown;
  } cases[] = {
      {"docs/short-", 80, "MB/s  docs/short-"},
      {"\x1B[2Ja\nb", 80, "MB/s  \\033[2Ja\\012b"},
      // Two-byte characters, of which the last that fits is whole, and wide ones.
      {"\xC3\xA4\xC3\xB6\xC3\xBC\xC3\xA4\xC3\xB6\xC3\xBC\xC3\xA4\xC3\xB6\xC3\xBC\xC3\xA4\xC3\xB6",
       31, "MB/s  \xC3\xA4\xC3\xB6"},
      {"\xE6\xBC\xA2\xE5\xAD\x97\xE6\xBC\xA2\xE5\xAD\x97\xE6\xBC\xA2\xE5\xAD\x97\xE6\xBC\xA2", 30,
       "MB/s  \xE6\xBC\xA2\xE5\xAD\x97"},
      {"a", 12, " MB"},
      {"a", 0, "MB/s  ac"},  // a terminal that does not say how wide it is
  };
  for (const auto& [name, columns, shown] : cases) {
    const TerminalRun run = RunFed({columns, {}, {}}, {"-df", "p"}, LongArchive(name));
    EXPECT_EQ(run.status, 0);
    ExpectShown(run, shown);
    const std::size_t width = columns != 0 ? columns : 80;
    const Lines expected = ScreenOf(Processing("p") + "\r" + Tested(4), width);
    EXPECT_EQ(BeforeFigures(run, kUnpacked, width), expected) << run.bytes;
    for (const std::string& state : States(run.bytes)) {
      EXPECT_EQ(ScreenOf(state, width).size(), 1u) << state;
      EXPECT_EQ(ScreenOf(state + "|", width).size(), 1u) << "last column used by " << state;
    }
  }
}

TEST_F(StatusLine, IsNotPartOfAListingThatGoesToAFile) {
  const std::string archive = LongArchive("x");
  Write("a.qel", archive);
  std::string listing = Run("-tf a.qel").out;
  listing.replace(0, Processing("a.qel").size(), Processing("p"));
  const TerminalRun run = RunFed({80, "listing", {}}, {"-tf", "p"}, archive);
  EXPECT_EQ(Bytes("listing"), listing);
  ExpectShown(run, "MB/s  xc");
  EXPECT_EQ(BeforeFigures(run, "  1.9 MB, "), Lines());
  // On the same screen it gives way to every line.
  const TerminalRun mixed = RunFed({80, {}, {}}, {"-tf", "p"}, archive);
  ExpectShown(mixed, "MB/s  xc");
  std::string lines;
  for (const std::string& line : BeforeFigures(mixed, "  1.9 MB, "))
    lines += line + "\n";
  EXPECT_EQ(lines, listing);
}

TEST_F(StatusLine, GivesWayToVAndComesWithAllOutputInAFile) {
  const std::string archive = LongArchive("x");
  const TerminalRun verbose = RunFed({80, "out", {}}, {"-dvf", "p"}, archive);
  EXPECT_EQ(verbose.bytes, "");
  EXPECT_EQ(Text("out"), Processing("p") + "d xa\nd xb\nd xc\nd xd\n" + Tested(4));
  const TerminalRun redirected = RunFed({}, {"-e", "-df", "p"}, archive);
  ExpectShown(redirected, "MB/s  xc");
  EXPECT_EQ(BeforeFigures(redirected, kUnpacked), Lines());
  EXPECT_EQ(Text("moldex_output"), Processing("p") + Tested(4));
  SlowPipe pipe(Path("p"), O_RDWR);
  pipe.Feed(archive);
  ExpectRun("-df p", Processing("p") + Tested(4), 0);  // no terminal: nothing on standard error
}

TEST_F(StatusLine, KnowsHowMuchCreatingWillRead) {
  Tree tree;
  for (char last = 'a'; last < 'e'; ++last)
    tree["d/x" + std::string(1, last)] = FileNode(Noise(500'000, 1));
  tree["d/left/out"] = FileNode(Noise(900'000, 1));
  tree["more"] = FileNode(Noise(100'000, 1));
  tree["names"] = FileNode("more\n");
  tree["not"] = FileNode("d/left\n");
  Make(tree);
  const Words options = {"d", "no", "-i", "-A", "names", "-X", "not"};
  Words arguments = {"-cf", "a.qel"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  EXPECT_EQ(Run(arguments).status, 44);
  arguments[1] = "p";
  SlowPipe pipe(Path("p"), O_RDONLY);
  pipe.Drain();
  const TerminalRun run = RunAt({}, folder_.Path(), arguments);
  EXPECT_EQ(run.status, 44);
  EXPECT_EQ(pipe.Stop(), Bytes("a.qel"));
  ExpectShown(run, " MB of 2.1 MB, ");
  ExpectShown(run, " %, ");
  // A name that cannot be looked up is reported once, by the creation itself.
  EXPECT_EQ(BeforeFigures(run, "  2.1 MB, "),
            (Lines{"MOLDEX: inaccessible file no", "hint: no: No such file or directory"}));
}

// Presses a key when the line is there, once.
auto Press(const char* key, bool* pressed) {
  return [key, pressed](const std::string& bytes) {
    const bool press_now = !*pressed && !States(bytes).empty();
    *pressed |= press_now;
    return std::string(press_now ? key : "");
  };
}

TEST_F(StatusLine, DoesNotWaitForATerminalThatTakesNothing) {
  bool pressed = false;
  const std::string archive = LongArchive("x");
  const TerminalRun run = RunFed({80, "out", Press("\x13", &pressed)}, {"-df", "p"}, archive);
  EXPECT_TRUE(pressed);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Text("out"), Processing("p") + Tested(4));
}

TEST_F(StatusLine, IsGoneWhenTheRunIsInterrupted) {
  bool pressed = false;
  const auto press = Press("\x03", &pressed);
  const TerminalRun run = RunFed({80, {}, press}, {"-df", "p"}, LongArchive("x"));
  EXPECT_TRUE(pressed);
  EXPECT_EQ(run.status, 130);
  EXPECT_EQ(ScreenOf(run.bytes, 80),
            (Lines{"MOLDEX: processing archive p...", "MOLDEX: interrupted (error 130)."}));
}

}  // namespace
}  // namespace moldex::test

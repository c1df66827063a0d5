// Runs that are interrupted, by Ctrl-C and by requests to end: they leave an archive whole, however
// many threads work.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <random>
#include <thread>

#include "program/program_test.h"
#include "support/noise.h"
#include "threads/use_workers.h"

namespace moldex::test {
namespace {

using std::chrono::microseconds;

constexpr std::size_t kZeros = 32U << 20;

bool HasEnded(pid_t child) {
  siginfo_t info{};
  (void)waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT);
  return info.si_pid == child;
}

// True when the process has a handler of its own, as the program does from its first lines on.
bool Catches(pid_t child, int signal) {
  std::ifstream status("/proc/" + std::to_string(child) + "/status");
  std::string line;
  while (std::getline(status, line) && !line.starts_with("SigCgt:"))
    continue;
  return !line.empty() && (std::stoull(line.substr(7), nullptr, 16) >> (signal - 1) & 1) != 0;
}

// A gigabyte of zeros in fixed codes: four of them, and matches of 258.
std::string StreamOfZeros() {
  std::string bits = "110";
  for (int i = 0; i < 4; ++i)
    bits += "00110000";
  for (int i = 0; i < 4'161'790; ++i)
    bits += "1100010100000";
  bits += "0000000";
  std::string stream("\0\0\0\x40\x12\x1F\x9D\x06", 8);
  stream.append(bits.size() / 8 + 2, '\0');
  for (std::size_t i = 0; i < bits.size(); ++i)
    stream[8 + i / 8] |= static_cast<char>((bits[i] & 1) << i % 8);
  return stream;
}

// An entry of six such streams. The checksum of zeros is 0.
QelEntry LongEntry() {
  QelEntry entry = FileEntry("long", "");
  entry.size_low = 1U << 31;
  entry.size_high = 1;
  const std::string stream = StreamOfZeros();
  for (int i = 0; i < 6; ++i) {
    for (std::size_t at = 0; at < stream.size(); at += kMaxPayload)
      entry.blocks.push_back({"DA", stream.substr(at, kMaxPayload)});
  }
  entry.blocks.back().type = "ED";
  return entry;
}

class Interruption : public ProgramTest, public ::testing::WithParamInterface<unsigned> {
 protected:
  Interruption() { UseWorkers(GetParam()); }

  // Sends the signal once the program has named an entry; all output goes to "moldex_output".
  RunResult RunAndSignal(const std::string& line, const std::string& entry, int signal) const {
    std::filesystem::remove(Path("moldex_output"));
    return RunProgram(folder_.Path(), SplitAtBlanks(line), User::kSame, 60, [&](pid_t child) {
      const std::string named = " " + entry + "\n";
      while (!Exists("moldex_output") || Bytes("moldex_output").find(named) == std::string::npos) {
        if (HasEnded(child)) return;
        std::this_thread::sleep_for(microseconds(500));
      }
      (void)kill(child, signal);
      signalled_ = std::chrono::steady_clock::now();
    });
  }

  // Sends one of the signals some time after the program began to catch them; returns the signal.
  int RunAndSignalSometime(const std::string& line, microseconds latest, RunResult& result) {
    const int signal = std::array{SIGINT, SIGTERM, SIGHUP}[random_() % 3];
    const microseconds time(random_() % static_cast<unsigned>(latest.count() + 1));
    result = RunProgram(folder_.Path(), SplitAtBlanks(line), User::kSame, 60, [&](pid_t child) {
      while (!HasEnded(child) && !Catches(child, SIGPIPE))
        std::this_thread::sleep_for(microseconds(200));
      std::this_thread::sleep_for(time);
      (void)kill(child, signal);
    });
    return signal;
  }

  std::mt19937 random_{std::random_device()()};
  mutable std::chrono::steady_clock::time_point signalled_;
};

TEST_P(Interruption, EndsEveryCommandWithAMessageAndLeavesTheArchiveWhole) {
  std::vector<QelEntry> many(12, FileEntry("big", std::string(kZeros, '\0')));
  many.insert(many.begin(), FileEntry("first", "1"));
  Write("many.qel", BuildArchive(many));
  many.resize(2);
  Make({{"d/a", FileNode("whole")}, {"d/big", FileNode("")}, {"d/z", FileNode("never reached")}});
  std::filesystem::resize_file(Path("d/big"), std::uintmax_t{4} << 30);
  Write("long.qel", BuildArchive({LongEntry()}));
  const std::string former = BuildArchive({FileEntry("old", "was there before")});
  const std::tuple<const char*, const char*, const char*, std::size_t> cases[] = {
      {"-e -cvf a.qel d", "d/big", "a.qel", 2},
      {"-e -cvf a.qel d/big", "d/big", "a.qel", 0},
      {"-e -avf former.qel d", "d/big", "former.qel", 3},
      {"-e -xvf many.qel -R out", "big", "former.qel", 1},
      {"-e -dvf many.qel", "big", "former.qel", 1},
      {"-e -dvf long.qel", "long", "former.qel", 1}};
  for (const auto& [line, entry, archive, entries] : cases) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      SCOPED_TRACE(line + std::to_string(signal));
      Write("former.qel", former);
      EXPECT_EQ(RunAndSignal(line, entry, signal).status, 128 + signal);
      EXPECT_LT(std::chrono::steady_clock::now() - signalled_, std::chrono::seconds(5));
      const std::string out = Bytes("moldex_output");
      EXPECT_TRUE(out.ends_with(Failure("interrupted", 128 + signal))) << out;
      EXPECT_EQ(out.find("file(s)"), std::string::npos) << out;
      EXPECT_EQ(Exists(archive) ? Entries(archive).size() : 0, entries);
      EXPECT_EQ(Exists(archive), entries > 0);
    }
  }
}

TEST_P(Interruption, EndsAMergeAndLeavesTheTargetAsItWas) {
  const std::string former = BuildArchive({FileEntry("old", "was there before")});
  Write("s.qel", std::string(kArchiveHeader));
  std::filesystem::resize_file(Path("s.qel"), std::uintmax_t{1} << 30);
  Write("former.qel", former);
  const RunResult result =
      RunProgram(folder_.Path(), {"-mf", "s.qel,former.qel"}, User::kSame, 60, [&](pid_t child) {
        while (std::filesystem::file_size(Path("former.qel")) == former.size())
          std::this_thread::sleep_for(microseconds(500));
        (void)kill(child, SIGTERM);
      });
  EXPECT_EQ(result.status, 143);
  EXPECT_EQ(result.out, Failure("interrupted", 143));
  EXPECT_EQ(Bytes("former.qel"), former);
}

TEST_P(Interruption, AtAnyMomentLeavesWholeEntriesAndFiles) {
  Tree tree;
  for (unsigned i = 0; i < 60; ++i)
    tree["d/" + std::to_string(i)] = FileNode(Noise(i % 10 == 0 ? 300'000 : i * 100, i));
  Make(tree);
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(Run("-cf s.qel d").status, 0);
  const auto taken = std::chrono::steady_clock::now() - begin;
  const std::string whole = Bytes("s.qel");
  int interrupted = 0;
  for (unsigned i = 0; i < 24; ++i) {
    Write("former.qel", std::string(kArchiveHeader));
    for (const char* name : {"a.qel", "out"})
      Remove(name);
    const std::string line =
        std::array{"-cf a.qel d", "-af former.qel d", "-df s.qel", "-xf s.qel -R out"}[i % 4];
    RunResult result;
    const int signal =
        RunAndSignalSometime(line, std::chrono::duration_cast<microseconds>(taken), result);
    interrupted += result.status != 0;
    if (result.status != 0) {
      EXPECT_EQ(result.status, 128 + signal) << line << " signal " << result.signal;
      EXPECT_TRUE(result.out.ends_with(Failure("interrupted", result.status))) << result.out;
    }
    for (const char* archive : {"a.qel", "former.qel"}) {
      if (!Exists(archive)) continue;
      EXPECT_TRUE(whole.starts_with(Bytes(archive))) << line;
      EXPECT_NO_THROW(Entries(archive));
    }
    // The first files of the archive; only the last of them may be incomplete.
    const Tree out = Below("out/d");
    auto packed = tree.begin();
    for (auto at = out.begin(); at != out.end(); ++at, ++packed) {
      EXPECT_EQ("d/" + at->first, packed->first);
      const bool is_part = std::next(at) == out.end() && at->second.mode == 0600;
      EXPECT_TRUE(is_part || at->second == packed->second) << at->first;
    }
  }
  EXPECT_GT(interrupted, 0);
}

// Nobody writes into the pipe, or reads from it: one signal is enough, whenever it comes.
TEST_P(Interruption, EndsARunThatWaitsForSomebodyElse) {
  Make({{"pipe", FifoNode()}, {"moldex_output", FifoNode()}, {"big", FileNode(Noise(400'000, 1))}});
  Write("many.qel",
        BuildArchive(std::vector<QelEntry>(3000, DirectoryEntry(std::string(200, 'd')))));
  const int pipe = open(Path("pipe").c_str(), O_RDWR);
  const int output = open(Path("moldex_output").c_str(), O_RDWR);
  const std::pair<const char*, std::string> cases[] = {
      {"-tf pipe", Failure("interrupted", 130)},
      {"-e -dvf many.qel", ""},
      {"-e -tf many.qel", ""},
      {"-cf pipe big", Failure("interrupted", 130)}};
  for (const auto& [line, out] : cases) {
    for (int i = 0; i < 5; ++i) {
      const auto part = std::uniform_int_distribution<int>(0, 30'000)(random_);
      const RunResult result =
          RunProgram(folder_.Path(), SplitAtBlanks(line), User::kSame, 60, [&](pid_t child) {
            while (!HasEnded(child) && !Catches(child, SIGPIPE))
              std::this_thread::sleep_for(microseconds(1000));
            std::this_thread::sleep_for(microseconds(part));
            (void)kill(child, SIGINT);
          });
      EXPECT_EQ(result.status, 130) << line;
      EXPECT_EQ(result.out, out) << line;
      EXPECT_EQ(result.err, "") << line;
    }
  }
  (void)close(pipe);
  (void)close(output);
}

INSTANTIATE_TEST_SUITE_P(Workers, Interruption, ::testing::Values(1U, 2U, 4U),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace moldex::test

// The rest of an archive when writing it fails: by several faults at once, and by the limits of a
// real system.
#include <sys/resource.h>

#include "faults/system_faults.h"
#include "program/program_test.h"
#include "support/noise.h"

namespace moldex::test {
namespace {

class CutBack : public ProgramTest {
 protected:
  CutBack() {
    Make({{"d/big", FileNode(Noise(400'000, 1))}, {"d/z", FileNode("last")}});
    Write("former.qel", former_);
    EXPECT_EQ(Run({"-cf", "s.qel", "d"}).status, 0);
  }

  FaultyRun Run(const Words& words, const std::vector<FaultPlan>& plans = {},
                const std::function<void()>& prepare = {}) const {
    return RunWithFaults(folder_.Path(), words, plans, prepare);
  }

  const std::string former_ = BuildArchive({FileEntry("old", "was there before")});
};

TEST_F(CutBack, ThatFailsTooIsSaidInASecondLine) {
  const std::tuple<std::string, Words, std::size_t> cases[] = {
      {"a.qel", {"-cf", "a.qel", "d"}, Entries("s.qel").at(1).offset},
      {"former.qel",
       {"-af", "former.qel", "d"},
       former_.size() + Entries("s.qel").at(1).offset - kArchiveHeader.size()},
      {"former.qel", {"-mf", "s.qel,former.qel"}, former_.size()}};
  for (const auto& [archive, words, whole_bytes] : cases) {
    Write("former.qel", former_);
    const FaultyRun run =
        Run(words, {{Call::kWrite, Fault::kStaysFull, 1}, {Call::kTruncate, Fault::kIoError, 1}});
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(run.out, Failure("error writing to " + archive, 4, "No space left on device") +
                           "MOLDEX: could not cut back to byte " + std::to_string(whole_bytes) +
                           " the archive " + archive + ". Input/output error\n");
    EXPECT_GT(Bytes(archive).size(), whole_bytes);
    const FaultyRun verify = Run({"-df", archive});
    if (words[0] == "-mf") continue;  // which writes no entry by entry
    const std::string good_part = "MOLDEX: the good part of " + archive + " ends at byte " +
                                  std::to_string(whole_bytes) + ", after d\n";
    EXPECT_NE(verify.out.find(good_part), std::string::npos) << verify.out;
  }
}

TEST_F(CutBack, LeavesNoArchiveWhereNoEntryWasWritten) {
  for (const Fault fault : {Fault::kNoSpace, Fault::kIoError, Fault::kStaysFull}) {
    Write("a.qel", "an older file");
    EXPECT_EQ(Run({"-cf", "a.qel", "d/big"}, {{Call::kWrite, fault, 1}}).status, 4);
    EXPECT_FALSE(Exists("a.qel"));
  }
}

// The user's limit for the size of files ends a process that is not prepared for it.
TEST_F(CutBack, KeepsWholeEntriesWhenAFileMayNotGrow) {
  const auto limit = [] {
    const rlimit small = {300'000, 300'000};
    (void)setrlimit(RLIMIT_FSIZE, &small);
  };
  const std::tuple<std::string, Words, std::size_t> cases[] = {
      {"a.qel", {"-cf", "a.qel", "d"}, 1},
      {"former.qel", {"-af", "former.qel", "d"}, 2},
      {"former.qel", {"-mf", "s.qel,former.qel"}, 1}};
  for (const auto& [archive, words, entries] : cases) {
    Write("former.qel", former_);
    const FaultyRun run = Run(words, {}, limit);
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(run.out, Failure("error writing to " + archive, 4, "File too large"));
    EXPECT_EQ(Entries(archive).size(), entries);
  }
}

}  // namespace
}  // namespace moldex::test

// What is left of an archive when writing it fails: by faults beside each other, and by the limits
// of a real system.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <string>

#include "faults/system_faults.h"
#include "support/qel_bytes.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

class CutBack : public ::testing::Test {
 protected:
  CutBack() {
    std::string noise(400'000, '\0');
    for (std::size_t i = 0; i < noise.size(); ++i)
      noise[i] = static_cast<char>(i * i >> 7 ^ i * 2654435761U >> 13);
    MakeTree(folder_.Path(), {{"d/big", FileNode(noise)}, {"d/z", FileNode("last")}});
    WriteFile(Path("former.qel"), former_);
    EXPECT_EQ(Run({"-cf", "s.qel", "d"}).status, 0);
  }

  FaultyRun Run(const Words& words, const std::vector<FaultPlan>& plans = {},
                const std::function<void()>& prepare = {}) const {
    return RunWithFaults(folder_.Path(), words, plans, prepare);
  }
  std::filesystem::path Path(const char* name) const { return folder_.Path() / name; }
  std::string Bytes(const char* name) const { return ReadFile(Path(name)); }

  const std::string former_ = BuildArchive({FileEntry("old", "was there before")});
  const TempDir folder_;
};

TEST_F(CutBack, ThatFailsTooIsSaidInASecondLine) {
  const struct {
    const char* archive;
    Words words;
    std::size_t whole_bytes;
  } cases[] = {{"a.qel", {"-cf", "a.qel", "d"}, ParseArchive(Bytes("s.qel")).at(1).offset},
               {"former.qel",
                {"-af", "former.qel", "d"},
                former_.size() + ParseArchive(Bytes("s.qel")).at(1).offset - kArchiveHeader.size()},
               {"former.qel", {"-mf", "s.qel,former.qel"}, former_.size()}};
  for (const auto& [archive, words, whole_bytes] : cases) {
    WriteFile(Path("former.qel"), former_);
    const FaultyRun run =
        Run(words, {{Call::kWrite, Fault::kStaysFull, 1}, {Call::kTruncate, Fault::kIoError, 1}});
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(run.out, "MOLDEX: error writing to " + std::string(archive) +
                           " (error 4). No space left on device\nMOLDEX: could not cut back to "
                           "byte " +
                           std::to_string(whole_bytes) + " the archive " + archive +
                           ". Input/output error\n");
    EXPECT_GT(Bytes(archive).size(), whole_bytes);
    const FaultyRun verify = Run({"-df", archive});
    if (words[0] == "-mf") continue;  // which writes no entry by entry
    EXPECT_NE(verify.out.find("MOLDEX: the good part of " + std::string(archive) +
                              " ends at byte " + std::to_string(whole_bytes) + ", behind d\n"),
              std::string::npos)
        << verify.out;
  }
}

TEST_F(CutBack, LeavesNoArchiveWhereNoEntryWasWritten) {
  for (const Fault fault : {Fault::kNoSpace, Fault::kIoError, Fault::kStaysFull}) {
    WriteFile(Path("a.qel"), "an older file");
    EXPECT_EQ(Run({"-cf", "a.qel", "d/big"}, {{Call::kWrite, fault, 1}}).status, 4);
    EXPECT_FALSE(std::filesystem::exists(Path("a.qel")));
  }
  EXPECT_EQ(Run({"-cf", "a.qel", "-C", "nowhere", "x"}).status, 102);
  EXPECT_FALSE(std::filesystem::exists(Path("a.qel")));
  std::filesystem::create_symlink("real.qel", Path("link.qel"));
  const FaultyRun run = Run({"-cf", "link.qel", "d/big"}, {{Call::kWrite, Fault::kNoSpace, 1}});
  EXPECT_NE(run.out.find("MOLDEX: could not delete the incomplete archive link.qel\n"),
            std::string::npos);
  EXPECT_EQ(Bytes("real.qel"), "");
}

// The user's limit for the size of files ends a process that is not prepared for it.
TEST_F(CutBack, KeepsWholeEntriesWhenAFileMayNotGrow) {
  const auto limit = [] {
    const rlimit small = {300'000, 300'000};
    (void)setrlimit(RLIMIT_FSIZE, &small);
  };
  const struct {
    const char* archive;
    Words words;
    std::size_t entries;
  } cases[] = {{"a.qel", {"-cf", "a.qel", "d"}, 1},
               {"former.qel", {"-af", "former.qel", "d"}, 2},
               {"former.qel", {"-mf", "s.qel,former.qel"}, 1}};
  for (const auto& [archive, words, entries] : cases) {
    WriteFile(Path("former.qel"), former_);
    const FaultyRun run = Run(words, {}, limit);
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(run.out,
              "MOLDEX: error writing to " + std::string(archive) + " (error 4). File too large\n");
    EXPECT_EQ(ParseArchive(Bytes(archive)).size(), entries);
  }
}

}  // namespace
}  // namespace moldex::test

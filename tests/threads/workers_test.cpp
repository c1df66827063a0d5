// However many threads work, a run makes the same archive, files and text.
#include <malloc.h>

#include <algorithm>
#include <random>

#include "program/program_test.h"
#include "support/noise.h"
#include "threads/use_workers.h"

namespace moldex::test {
namespace {

constexpr std::size_t kSizes[] = {65535, 65536, 65537, 262144, 262145, 1 << 20, (1 << 20) + 1};

class Workers : public ProgramTest {
 protected:
  std::string Content() {
    const std::size_t small = random_() % 400;
    const std::size_t size = random_() % 16 == 0 ? kSizes[random_() % std::size(kSizes)] : small;
    switch (random_() % 3) {
      case 0:
        return Noise(size, static_cast<unsigned>(random_()));
      case 1:
        return std::string(size, 'z');
      default:
        return Numbers(static_cast<int>(size / 5));
    }
  }

  // Below "d": small files and large ones, among them some that cannot be read, and links to
  // nowhere.
  Tree RandomTree() {
    Tree tree = {{"d/closed", FileNode("", 0000)}};  // so that every run has a failure to log
    std::string folder = "d";
    for (int i = 0; i < 250; ++i) {
      if (random_() % 20 == 0) folder = "d/in" + std::to_string(random_() % 20);
      const std::string name = folder + "/" + std::to_string(i);
      const auto kind = random_() % 40;
      if (kind == 0) {
        tree[name] = SymlinkNode("nowhere");
      } else {
        tree[name] = FileNode(Content(), kind == 1 ? 0000 : 0644);
      }
    }
    return tree;
  }

  // The text, status and files of each command.
  std::string Outcome() const {
    Write("former.qel", BuildArchive({FileEntry("old", "was there before")}));
    for (const char* name : {"a.qel", "out", "moldex.log", "moldex_output"})
      Remove(name);
    std::string outcome;
    for (const char* line : {"-icvf a.qel d", "-e -iavf former.qel d", "-cf all.qel d",
                             "-dvf a.qel", "-df former.qel d/in1", "-xvf a.qel -R out"}) {
      const RunResult result = Run(line, User::kNobody);
      outcome += result.out + std::to_string(result.status) + "\n";
    }
    for (const char* name : {"a.qel", "former.qel", "moldex.log", "moldex_output"})
      outcome += Bytes(name);
    return outcome + (Exists("all.qel") ? "all.qel" : "");
  }

  const unsigned seed_ = std::random_device()();
  std::mt19937 random_{seed_};
};

// Both texts from a little before the place on where they begin to differ; empty if they are equal.
std::string Difference(const std::string& one, const std::string& other) {
  if (one == other) return {};
  const auto at = std::mismatch(one.begin(), one.end(), other.begin(), other.end()).first;
  const auto from = static_cast<std::size_t>(std::max<std::ptrdiff_t>(at - one.begin() - 100, 0));
  return one.substr(from, 300) + "\n--- instead of\n" + other.substr(from, 300);
}

TEST_F(Workers, MakeNoDifferenceButInTime) {
  SCOPED_TRACE("seed " + std::to_string(seed_));
  Make(RandomTree());
  UseWorkers(1);
  const std::string alone = Outcome();
  const Tree out = Below("out");
  EXPECT_GT(out.size(), 100U);
  for (const unsigned workers : {2U, 4U, 16U}) {
    SCOPED_TRACE(workers);
    UseWorkers(workers);
    EXPECT_EQ(Difference(Outcome(), alone), "");
    EXPECT_TRUE(Below("out") == out);
  }
}

// The stream's header in one block, and a block for every byte after it.
QelEntry TinyBlocks(const std::string& content) {
  QelEntry entry = FileEntry("f", content, 0100644, 1);
  const auto second = entry.blocks.begin() + 1;
  for (auto block = second; block != second + 7; ++block)
    entry.blocks[0].payload += block->payload;
  entry.blocks.erase(second, second + 7);
  return entry;
}

TEST_F(Workers, TakeBoundedMemoryWhateverAnArchiveConsistsOf) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
  {
    std::string big = Noise(2'000'000, 1);
    for (int doubling = 0; doubling < 4; ++doubling)
      big += big;
    Tree tree = {{"d/big", FileNode(big)}};
    for (int i = 0; i < 300; ++i)
      tree["d/" + std::to_string(i)] = FileNode(Numbers(20 * i));
    Make(tree);
    Write("blocks.qel", BuildArchive({TinyBlocks(Numbers(200'000))}));
    std::vector<QelEntry> entries(5000, TinyBlocks("ab"));
    for (QelEntry& entry : entries)
      entry.name = std::to_string(&entry - entries.data());
    Write("entries.qel", BuildArchive(entries));
    QelEntry described = FileEntry("f", "");
    described.user_data.assign(65535, 'u');
    Write("texts.qel", BuildArchive(std::vector(600, described)));
    QelEntry claims = FileEntry("f", "");
    claims.size_high = 1'000'000;
    const std::string gigabyte("\0\0\0\x40\x12\x1F\x9D\x06", 8);
    claims.blocks.resize(1'000'000, {"DA", gigabyte});
    claims.blocks.back().type = "ED";
    Write("claims.qel", BuildArchive({claims}));
  }
  (void)malloc_trim(0);  // what the tests hold would count as the program's
  for (const unsigned workers : {1U, 2U, 16U}) {
    UseWorkers(workers, "prlimit --as=300000000 ");
    const auto check = [&](const std::string& line, bool fails) {
      const RunResult result = Run(line);
      EXPECT_EQ(result.status != 0, fails) << line << result.out;
      EXPECT_LT(result.peak_rss_kib, 8192 + 4096 * (workers - 1)) << line << ' ' << workers;
    };
    check("-cf big.qel d", false);
    for (const std::string archive : {"big", "blocks", "entries", "texts", "claims"}) {
      check("-tf " + archive + ".qel", false);
      for (const std::string command : {"-df ", "-R out -xf "})
        check(command + archive + ".qel", archive == "claims");
    }
  }
  EXPECT_TRUE(Bytes("out/d/big") == Bytes("d/big"));
}

}  // namespace
}  // namespace moldex::test

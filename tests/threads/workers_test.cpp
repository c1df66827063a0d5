// However many threads work, a run makes the same archive, files and text.
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
    Tree tree;
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

  std::mt19937 random_{std::random_device()()};
};

TEST_F(Workers, MakeNoDifferenceButInTime) {
  Make(RandomTree());
  UseWorkers(1);
  const std::string alone = Outcome();
  const Tree out = Below("out");
  EXPECT_GT(out.size(), 100U);
  for (const unsigned workers : {2U, 4U, 16U}) {
    SCOPED_TRACE(workers);
    UseWorkers(workers);
    EXPECT_TRUE(Outcome() == alone);
    EXPECT_TRUE(Below("out") == out);
  }
}

}  // namespace
}  // namespace moldex::test

// Every call of the system that a command makes fails once, one after the other: the run says so
// with the right message and status, calls nothing done that is not, spoils nothing that was there
// before, and survives what a program has to survive. So it is however many threads work.
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <ostream>
#include <random>
#include <set>

#include "faults/system_faults.h"
#include "run/run_context.h"
#include "support/folder_test.h"
#include "support/noise.h"
#include "support/qel_bytes.h"

namespace moldex::test {
namespace {

enum class Leaves { kNewArchive, kLongerArchive, kFormerArchive, kFiles };

struct Scenario {
  const char* name;
  Words words;
  Leaves leaves = Leaves::kFormerArchive;
  bool long_names = false;
  bool ends_with_40 = false;  // an old archive, or names of which one may be missing
  bool has_workers = false;   // several threads may work
  unsigned workers = 1;       // 1: the process may use one processor
};

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

// More than the program writes at once, with small entries in front of and after it.
Tree PackedTree() {
  return {{"d", DirectoryNode(0750)},
          {"d/a", FileNode("small")},
          {"d/big", FileNode(Noise(300'000, 1))},
          {"d/c", FileNode("also small", 0400)},
          {"d/e", FileNode("")},
          {"d/sub", DirectoryNode()},
          {"d/sub/big", FileNode(Noise(20'000, 2))},
          {"d/sub/link", SymlinkNode("../a")},
          {"d/z", FileNode("last")}};
}

std::string FormerArchive() {
  return BuildArchive({DirectoryEntry("old"), FileEntry("old/f", "was there before")});
}

// How a run may end on which a call failed. A status of 0 is allowed where the result is the same
// as without the fault, and only there.
const struct {
  Call call;
  int status;
  const char* message;  // after "MOLDEX: "; its start
} kOutcomes[] = {{Call::kOpen, 6, "error opening "},
                 {Call::kOpen, 28, "could not open for writing out/d/"},
                 {Call::kOpen, 44, "inaccessible file d"},
                 {Call::kRead, 5, "error reading from "},
                 {Call::kRead, 44, "inaccessible file d/e"},  // whether it is really empty
                 {Call::kWrite, 4, "error writing to "},
                 {Call::kClose, 4, "error writing to "},
                 {Call::kSeek, 6, "error opening former.qel (error 6). "},
                 {Call::kSeek, 53, "could not get position of file pointer. "},
                 {Call::kSeek, 54, "could not set position of file pointer. (error 54). "},
                 {Call::kSeek, 100, "error in second MoveFlPtr() (error 100). "},
                 {Call::kSeek, 100, "can't move file pointer in full.qel (error 100). "},
                 {Call::kSeek, 40, "error reading from "},
                 {Call::kMkdir, 3, "can not create directory out/d"},
                 {Call::kChmod, 13, "can not set permissions for out/d"},
                 {Call::kChmod, 48, "setting file attributes failed forout/d/"},
                 {Call::kUtime, 14, "can not change date for out/d/"},
                 {Call::kLink, 28, "could not open for writing out/d/sub/link (error 28). "},
                 {Call::kMemory, 2, "can not allocate new memory"}};
constexpr int kEndedBySignal = 143;

const Scenario kScenarios[] = {
    {"Create", {"-crvf", "a.qel", "d"}, Leaves::kNewArchive, false, false, true},
    {"CreateBackupStreams", {"-crf", "a.qel", "d"}, Leaves::kNewArchive, true, false, true},
    {"Append", {"-arf", "former.qel", "d"}, Leaves::kLongerArchive, false, false, true},
    {"Extract", {"-xvf", "full.qel", "-R", "out"}, Leaves::kFiles, false, false, true},
    {"ExtractSome",
     {"-xf", "full.qel", "-R", "out", "d/z", "d/e", "d/sub/link"},
     Leaves::kFiles,
     false,
     true,
     true},
    {"ExtractLongNames", {"-xf", "long.qel", "-R", "out"}, Leaves::kFiles, false, false, true},
    {"Verify", {"-dvf", "full.qel"}, Leaves::kFormerArchive, false, false, true},
    {"List", {"-tf", "full.qel"}},
    {"ExtractOld", {"-xf", "old.tar", "-R", "out"}, Leaves::kFiles, false, true},
    {"VerifyOld", {"-df", "old.tar"}, Leaves::kFormerArchive, false, true},
    {"ListOld", {"-tf", "old.tar"}, Leaves::kFormerArchive, false, true},
    {"SpaceReport", {"-tsf", "full.qel"}},
    {"Merge", {"-mf", "full.qel,former.qel"}},
    {"Scan", {"-l", "-A", "names"}}};

// Those that use workers, with each of these numbers of them.
std::vector<Scenario> WithWorkers(std::initializer_list<unsigned> counts) {
  std::vector<Scenario> scenarios;
  for (const unsigned workers : counts) {
    for (Scenario scenario : kScenarios) {
      scenario.workers = workers;
      if (scenario.has_workers) scenarios.push_back(scenario);
    }
  }
  return scenarios;
}

std::string NameOfCase(const ::testing::TestParamInfo<Scenario>& scenario) {
  const unsigned workers = scenario.param.workers;
  return scenario.param.name + (workers == 1 ? "" : std::to_string(workers));
}

bool CanHappen(Call call, Fault fault) {
  const bool makes =
      call == Call::kOpen || call == Call::kMkdir || call == Call::kLink || call == Call::kThread;
  switch (fault) {
    case Fault::kNoSpace:
      return makes || call == Call::kWrite || call == Call::kClose;
    case Fault::kIoError:
      return !makes;
    case Fault::kInterrupted:
      return call != Call::kSeek && call != Call::kThread;  // which never wait
    case Fault::kOneByteShort:
      return call == Call::kRead || call == Call::kWrite;
    case Fault::kStaysFull:
      return call == Call::kWrite;
    case Fault::kSignal:
      return call == Call::kRead || call == Call::kWrite;
    case Fault::kEndsThere:
    case Fault::kFewHandles:
      break;
  }
  return false;
}

class FaultSweep : public FolderTest, public ::testing::WithParamInterface<Scenario> {
 protected:
  explicit FaultSweep(const Tree& more = {}) {
    before_ = PackedTree();
    before_.insert(more.begin(), more.end());
    before_["names"] = FileNode("d/a\nmissing\n");
    before_["former.qel"] = FileNode(FormerArchive());
    Make(before_);
    EXPECT_EQ(RunWithFaults(folder_.Path(), {"-crf", "full.qel", "d"}, {}).status, 0);
    EXPECT_EQ(RunWithFaults(folder_.Path(), {"-crf", "long.qel", "d"}, {}, LongNames).status, 0);
    const std::string tar = "cd '" + Name("") + "' && tar -cf old.tar --exclude=link d";
    EXPECT_EQ(std::system(tar.c_str()), 0);
    before_ = Below("");
  }

  static void LongNames() {
    CCmdLineOptions& options = CRunContext::GetInstance().options();
    options.acl = options.long_names = options.backup = true;
  }

  static void UseOneProcessor() {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) _exit(99);  // in the run's own process
  }

  FaultyRun Run(const std::vector<FaultPlan>& plans, unsigned workers = GetParam().workers) const {
    for (const char* name : {"out", "a.qel", "files.log"})
      Remove(name);
    Write("former.qel", before_.at("former.qel").content);
    return RunWithFaults(folder_.Path(), GetParam().words, plans, [workers] {
      if (workers == 1) UseOneProcessor();
      if (workers > 1) CRunContext::GetInstance().options().workers = workers;
      if (GetParam().long_names) LongNames();
    });
  }

  // The tree afterwards without the times that the clock gives, to incomplete files too.
  Tree After() const {
    Tree tree = Below("");
    for (auto& [name, node] : tree) {
      const bool is_new = name == "former.qel" || name == "a.qel" || name == "files.log";
      if (is_new || node.mode == 0600) node.mtime = 0;
    }
    return tree;
  }

  static void ExpectFailure(const FaultPlan& plan, const FaultyRun& run) {
    if (plan.fault == Fault::kSignal) {
      EXPECT_EQ(run.status, kEndedBySignal);
      EXPECT_TRUE(run.out.ends_with("MOLDEX: interrupted (error 143). \n")) << run.out;
      return;
    }
    EXPECT_TRUE(std::ranges::any_of(
        kOutcomes,
        [&](const auto& outcome) {
          const bool same =
              outcome.status == run.status || (GetParam().ends_with_40 && run.status == 40);
          return outcome.call == plan.call && same &&
                 run.out.find(std::string("MOLDEX: ") + outcome.message) != std::string::npos;
        }))
        << run.status << '\n'
        << run.out;
    const char* text = plan.fault == Fault::kIoError ? "Input/output error" : "No space left";
    if (run.status == 4 || run.status == 6) {
      EXPECT_NE(run.out.find(text), std::string::npos) << run.out;
    }
    EXPECT_EQ(run.out.find("could not cut back"), std::string::npos) << run.out;
  }

  // Former files are as they were, and new ones are whole.
  void ExpectNothingSpoiled(const FaultyRun& run, Tree after) const {
    switch (GetParam().leaves) {
      case Leaves::kNewArchive:
        if (after.count("a.qel") != 0)
          ExpectStartOf(clean_.at("a.qel").content, after["a.qel"].content);
        break;
      case Leaves::kLongerArchive:
        EXPECT_GE(after["former.qel"].content.size(), FormerArchive().size());
        ExpectStartOf(clean_.at("former.qel").content, after["former.qel"].content);
        after["former.qel"] = before_.at("former.qel");
        break;
      case Leaves::kFormerArchive:
        if (run.status == 0) after["former.qel"] = before_.at("former.qel");
        break;
      case Leaves::kFiles:
        ExpectTrueSummary(run, after);
        break;
    }
    Tree expected = before_;
    expected["former.qel"].mtime = after["former.qel"].mtime = 0;
    std::erase_if(after, [](const auto& item) {
      return item.first == "a.qel" || item.first == "files.log" || item.first.starts_with("out");
    });
    EXPECT_TRUE(after == expected) << run.out;
  }

  // An archive that was cut back is the first entries of the one without the fault.
  static void ExpectStartOf(const std::string& clean, const std::string& archive) {
    EXPECT_TRUE(clean.starts_with(archive));
    const auto entries = ParseArchive(archive);  // throws for half an entry
    EXPECT_GT(entries.size(), 0U);
  }

  // How many files the run says that it extracted; -1 where it does not.
  static int ExtractedCount(const FaultyRun& run) {
    const std::size_t at = run.out.find(" file(s) extracted");
    return at == std::string::npos ? -1 : std::stoi(run.out.substr(run.out.rfind(' ', at - 1) + 1));
  }

  void ExpectTrueSummary(const FaultyRun& run, const Tree& after) const {
    const auto files = [](const Tree& tree) {
      return static_cast<int>(std::count_if(tree.begin(), tree.end(), [](const auto& item) {
        return item.first.starts_with("out/") && item.second.kind != Kind::kDirectory;
      }));
    };
    if (run.status == 0 || ExtractedCount(run) < 0) return;
    const int missing = clean_count_ - ExtractedCount(run);
    const int made = files(after);
    EXPECT_TRUE(missing == files(clean_) - made || (made == 0 && missing == clean_count_))
        << run.out;
  }

  // Returns the run without a fault, which the others are compared with.
  FaultyRun RunClean(unsigned workers) {
    FaultyRun clean = Run({}, workers);
    EXPECT_EQ(clean.status, 0) << clean.out;
    EXPECT_EQ(CountOf(clean.calls, Call::kThread) > 0, workers > 1);
    clean_ = After();
    clean_count_ = ExtractedCount(clean);
    return clean;
  }

  // Lets calls fail from the plan's on, each in a run of its own, `step` apart. Returns how many.
  int FailEach(FaultPlan plan, int step, const FaultyRun& clean, unsigned workers) const {
    const auto [call, fault, first, file] = plan;
    const bool harmless =
        fault == Fault::kInterrupted || fault == Fault::kOneByteShort || call == Call::kThread;
    int runs = 0;
    for (; plan.nth <= CountOf(clean.calls, call) && !HasFailure(); plan.nth += step, ++runs) {
      SCOPED_TRACE(std::string(NameOf(call)) + " number " + std::to_string(plan.nth) + ", fault " +
                   std::to_string(static_cast<int>(fault)));
      const FaultyRun run = Run({plan}, workers);
      const Tree after = After();
      if (run.status == 0) {
        EXPECT_EQ(run.out, clean.out);
        EXPECT_TRUE(after == clean_);
      } else {
        EXPECT_FALSE(harmless);
        ExpectFailure(plan, run);
      }
      ExpectNothingSpoiled(run, after);
    }
    return runs;
  }

  Tree before_;
  Tree clean_;
  int clean_count_ = 0;
};

TEST_P(FaultSweep, EveryFailingCallIsReportedOrSurvived) {
  const unsigned workers = GetParam().workers;
  const FaultyRun clean = RunClean(workers);
  int runs = 0;
  for (const Call call : kAllCalls) {
    for (const Fault fault : {Fault::kNoSpace, Fault::kIoError, Fault::kInterrupted,
                              Fault::kOneByteShort, Fault::kStaysFull, Fault::kSignal}) {
      if (call == Call::kMemory || !CanHappen(call, fault)) continue;
      runs += FailEach({call, fault, 1}, 1, clean, workers);
    }
  }
  RecordProperty("runs", runs);
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultSweep, ::testing::ValuesIn(kScenarios), NameOfCase);
INSTANTIATE_TEST_SUITE_P(Workers, FaultSweep, ::testing::ValuesIn(WithWorkers({2, 4})), NameOfCase);

// With a file so large that several threads work on it, and before it more entries than a block of
// a list may hold.
class LargeFaultSweep : public FaultSweep {
 protected:
  LargeFaultSweep() : FaultSweep(More()) {}

  static Tree More() {
    Tree tree = {{"d/f", FileNode(std::string(1'200'000, 'f'))}};
    for (const char number : std::string("01234"))
      tree[std::string("d/e") + number] = FileNode("");
    return tree;
  }
};

// A run asks for memory so often that each test lets only a sample of the requests fail, from a
// random one on. With MOLDEX_EVERY_REQUEST in the environment each request fails, in minutes.
TEST_P(LargeFaultSweep, ALackOfMemoryIsReportedOrSurvived) {
  std::random_device random;
  int runs = 0;
  for (const unsigned workers : {1U, 2U, 4U}) {
    if (workers > 1 && !GetParam().has_workers) break;
    const FaultyRun clean = RunClean(workers);
    constexpr int kRequests = 8;
    int step = std::max(1, CountOf(clean.calls, Call::kMemory) / kRequests);
    if (std::getenv("MOLDEX_EVERY_REQUEST") != nullptr) step = 1;
    std::uniform_int_distribution<int> first(1, step);
    for (const Fault fault : {Fault::kNoSpace, Fault::kStaysFull})
      runs += FailEach({Call::kMemory, fault, first(random)}, step, clean, workers);
  }
  RecordProperty("runs", runs);
}

INSTANTIATE_TEST_SUITE_P(Commands, LargeFaultSweep, ::testing::ValuesIn(kScenarios), NameOfCase);

// Faults that follow the place in a file, or its descriptor, instead of the order of calls.
class FaultAtAPlace : public LargeFaultSweep {
 protected:
  static std::set<int> PlacesIn(const std::string& content) {
    const auto size = static_cast<int>(content.size());
    std::set<int> places = {0, 1, 65535, 65536, size - 1};
    for (int place = 20'000; place < size; place += std::max(60'000, size / 6))
      places.insert(place);
    std::erase_if(places, [=](int place) { return place < 0 || place >= size; });
    return places;
  }

  // How many runs show whether it makes a difference.
  int Compare(const FaultPlan& plan) const {
    SCOPED_TRACE(NameOf(plan.call) + (" at " + std::to_string(plan.nth) + " " + plan.file));
    const FaultyRun alone = Run({plan}, 1);
    if (alone.status == 0 && plan.fault != Fault::kFewHandles) return 1;
    const Tree after = After();
    for (const unsigned workers : {2U, 4U}) {
      const FaultyRun run = Run({plan}, workers);
      EXPECT_EQ(run.out, alone.out);
      EXPECT_EQ(run.status, alone.status);
      EXPECT_TRUE(After() == after);
    }
    return 3;
  }
};

TEST_P(FaultAtAPlace, EndsTheRunAsOnOneProcessor) {
  EXPECT_EQ(Run({}).status, 0);
  int runs = 1;
  for (const auto& [file, node] : After()) {
    const bool is_source = file.starts_with("d/");
    const bool is_target = file.starts_with("out/");
    if (!is_source && !is_target && file != GetParam().words[1]) continue;
    for (const int place : PlacesIn(node.content)) {
      if (!is_source) runs += Compare({Call::kWrite, Fault::kNoSpace, place, file});
      if (is_target) continue;
      runs += Compare({Call::kRead, Fault::kIoError, place, file});
      runs += Compare({Call::kRead, Fault::kEndsThere, place, file});
    }
  }
  for (const int handles : {5, 6, 7, 8, 9, 11})
    runs += Compare({Call::kOpen, Fault::kFewHandles, handles});
  EXPECT_GT(runs, 50);
  RecordProperty("runs", runs);
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultAtAPlace, ::testing::ValuesIn(WithWorkers({1})),
                         NameOfCase);

}  // namespace
}  // namespace moldex::test

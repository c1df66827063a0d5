// Every call of the system that a command makes fails once, one after the other: the run says so
// with the right message and status, calls nothing done that is not, spoils nothing that was there
// before, and survives what a program has to survive.
#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <set>

#include "faults/system_faults.h"
#include "run/run_context.h"
#include "support/folder_test.h"
#include "support/noise.h"
#include "support/qel_bytes.h"

namespace moldex::test {
namespace {

// How a run may end on which a call failed. A status of 0 is allowed where the result is the same
// as without the fault, and only there.
struct Outcome {
  Call call;
  int status;
  const char* message;
};

enum class Leaves { kNewArchive, kLongerArchive, kFormerArchive, kFiles };

struct Scenario {
  const char* name;
  Words words;
  std::vector<Outcome> outcomes;
  Leaves leaves = Leaves::kFormerArchive;
  bool long_names = false;
};

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

// More than the program writes at once, with small entries in front of and behind it.
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

const char kOpening[] = "MOLDEX: error opening ";
const char kReading[] = "MOLDEX: error reading from ";
const char kPositioning[] = "MOLDEX: could not set position of file pointer. (error 54). ";

const std::vector<Outcome> kCreateOutcomes = {
    {Call::kOpen, 6, "MOLDEX: error opening a.qel (error 6). "},
    {Call::kOpen, 44, "MOLDEX: inaccessible file d"},
    {Call::kRead, 5, "MOLDEX: error reading from d/"},
    {Call::kRead, 44, "MOLDEX: inaccessible file d/e"},  // whether it is really empty
    {Call::kWrite, 4, "MOLDEX: error writing to a.qel (error 4). "},
    {Call::kClose, 4, "MOLDEX: error writing to a.qel (error 4). "}};

std::vector<Outcome> With(std::vector<Outcome> outcomes, std::initializer_list<Outcome> more) {
  outcomes.insert(outcomes.end(), more);
  return outcomes;
}

const Outcome kSecondMove = {Call::kSeek, 100, "MOLDEX: error in second MoveFlPtr() (error 100). "};
const std::vector<Outcome> kVerifyOutcomes = {{Call::kOpen, 6, kOpening},
                                              {Call::kRead, 5, kReading}};
const std::vector<Outcome> kExtractOutcomes = {
    {Call::kOpen, 6, kOpening},
    {Call::kOpen, 28, "MOLDEX: could not open for writing out/d/"},
    {Call::kRead, 5, kReading},
    {Call::kWrite, 4, "MOLDEX: error writing to out/d/"},
    {Call::kSeek, 54, kPositioning},
    kSecondMove,
    {Call::kClose, 4, "MOLDEX: error writing to out/d/"},
    {Call::kMkdir, 3, "MOLDEX: can not create directory out/d"},
    {Call::kChmod, 13, "MOLDEX: can not set permissions for out/d"},
    {Call::kUtime, 14, "MOLDEX: can not change date for out/d/"}};

// A failure ends the work on an old archive with a status of its own. Whether an archive is an old
// one shows only when it is looked at.
std::vector<Outcome> InOldArchive(std::vector<Outcome> outcomes) {
  std::erase_if(outcomes, [](const Outcome& outcome) { return outcome.status == 100; });
  for (Outcome& outcome : outcomes)
    outcome.status = 40;
  return With(std::move(outcomes), {{Call::kOpen, 6, kOpening}, {Call::kRead, 5, kReading}});
}

const char kLinking[] = "MOLDEX: could not open for writing out/d/sub/link (error 28). ";

std::vector<Scenario> Scenarios() {
  return {
      {"Create", {"-crvf", "a.qel", "d"}, kCreateOutcomes, Leaves::kNewArchive},
      {"CreateBackupStreams",
       {"-crf", "a.qel", "d"},
       With(kCreateOutcomes, {{Call::kSeek, 53, "MOLDEX: could not get position of file pointer. "},
                              {Call::kSeek, 54, kPositioning}}),
       Leaves::kNewArchive,
       true},
      {"Append",
       {"-arf", "former.qel", "d"},
       {{Call::kOpen, 6, "MOLDEX: error opening former.qel (error 6). "},
        {Call::kOpen, 44, "MOLDEX: inaccessible file d"},
        {Call::kRead, 5, kReading},
        {Call::kRead, 44, "MOLDEX: inaccessible file d/e"},
        {Call::kWrite, 4, "MOLDEX: error writing to former.qel (error 4). "},
        {Call::kSeek, 6, "MOLDEX: error opening former.qel (error 6). "},
        {Call::kSeek, 54, kPositioning},
        {Call::kClose, 4, "MOLDEX: error writing to former.qel (error 4). "}},
       Leaves::kLongerArchive},
      {"Extract",
       {"-xf", "full.qel", "-R", "out"},
       With(kExtractOutcomes, {{Call::kLink, 28, kLinking}}),
       Leaves::kFiles},
      {"ExtractSome",
       {"-xf", "full.qel", "-R", "out", "d/z", "d/e", "d/sub/link"},
       With(kExtractOutcomes,
            {{Call::kMkdir, 40, "MOLDEX: can not create directory out/d/sub/link (error 3). "},
             {Call::kLink, 40, kLinking}}),
       Leaves::kFiles},
      {"ExtractLongNames",
       {"-xf", "long.qel", "-R", "out"},
       With(kExtractOutcomes,
            {{Call::kLink, 28, kLinking},
             {Call::kChmod, 48, "MOLDEX: setting file attributes failed forout/d/"}}),
       Leaves::kFiles},
      {"Verify", {"-df", "full.qel"}, kVerifyOutcomes},
      {"List", {"-tf", "full.qel"}, With(kVerifyOutcomes, {kSecondMove})},
      {"ExtractOld",
       {"-xf", "old.tar", "-R", "out"},
       InOldArchive(With(kExtractOutcomes, {{Call::kSeek, 0, kReading}})),
       Leaves::kFiles},
      {"VerifyOld", {"-df", "old.tar"}, InOldArchive(kVerifyOutcomes)},
      {"ListOld",
       {"-tf", "old.tar"},
       InOldArchive(With(kVerifyOutcomes, {{Call::kSeek, 0, kReading}}))},
      {"SpaceReport", {"-tsf", "full.qel"}, With(kVerifyOutcomes, {kSecondMove})},
      {"Merge",
       {"-mf", "full.qel,former.qel"},
       {{Call::kOpen, 6, kOpening},
        {Call::kRead, 5, "MOLDEX: error reading from full.qel (error 5). "},
        {Call::kWrite, 4, "MOLDEX: error writing to former.qel (error 4). "},
        {Call::kSeek, 6, "MOLDEX: error opening former.qel (error 6). "},
        {Call::kSeek, 100, "MOLDEX: can't move file pointer in full.qel (error 100). "},
        {Call::kClose, 4, "MOLDEX: error writing to former.qel (error 4). "}}},
      {"Scan",
       {"-l", "-A", "names"},
       {{Call::kOpen, 6, "MOLDEX: error opening names (error 6). "},
        {Call::kRead, 5, "MOLDEX: error reading from names (error 5). "}}},
  };
}

bool CanHappen(Call call, Fault fault) {
  const bool makes = call == Call::kOpen || call == Call::kMkdir || call == Call::kLink;
  switch (fault) {
    case Fault::kNoSpace:
      return makes || call == Call::kWrite || call == Call::kClose;
    case Fault::kIoError:
      return !makes;
    case Fault::kInterrupted:
      return call != Call::kSeek;  // which never waits
    case Fault::kOneByteShort:
      return call == Call::kRead || call == Call::kWrite;
    case Fault::kStaysFull:
      return call == Call::kWrite;
  }
  return false;
}

class FaultSweep : public FolderTest, public ::testing::WithParamInterface<Scenario> {
 protected:
  FaultSweep() {
    before_ = PackedTree();
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

  FaultyRun Run(const std::vector<FaultPlan>& plans) const {
    for (const char* name : {"out", "a.qel", "files.log"})
      Remove(name);
    Write("former.qel", before_.at("former.qel").content);
    return RunWithFaults(folder_.Path(), GetParam().words, plans,
                         GetParam().long_names ? LongNames : std::function<void()>());
  }

  // The tree afterwards without the times that the clock gives.
  Tree After() const {
    Tree tree = Below("");
    for (const char* name : {"former.qel", "a.qel", "files.log"}) {
      if (tree.count(name) != 0) tree[name].mtime = 0;
    }
    return tree;
  }

  void ExpectFailure(const FaultPlan& plan, const FaultyRun& run) {
    const auto& outcomes = GetParam().outcomes;
    const auto known = std::find_if(outcomes.begin(), outcomes.end(), [&](const Outcome& outcome) {
      return outcome.call == plan.call && outcome.status == run.status &&
             run.out.find(outcome.message) != std::string::npos;
    });
    EXPECT_NE(known, outcomes.end()) << run.status << '\n' << run.out;
    if (known != outcomes.end()) seen_.insert(known - outcomes.begin());
    const char* text = plan.fault == Fault::kIoError ? "Input/output error" : "No space left";
    if (run.status == 4 || run.status == 6) {
      EXPECT_NE(run.out.find(text), std::string::npos) << run.out;
    }
    EXPECT_EQ(run.out.find("could not cut back"), std::string::npos) << run.out;
  }

  // What was there before is as it was; what is there now besides is whole.
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

  Tree before_;
  Tree clean_;
  int clean_count_ = 0;
  std::set<std::ptrdiff_t> seen_;  // rows of the scenario's outcomes
};

TEST_P(FaultSweep, EveryFailingCallIsReportedOrSurvived) {
  const FaultyRun clean = Run({});
  ASSERT_EQ(clean.status, 0) << clean.out;
  clean_ = After();
  clean_count_ = ExtractedCount(clean);
  int runs = 0;
  for (const Call call : kAllCalls) {
    for (const Fault fault : {Fault::kNoSpace, Fault::kIoError, Fault::kInterrupted,
                              Fault::kOneByteShort, Fault::kStaysFull}) {
      if (!CanHappen(call, fault)) continue;
      for (int nth = 1; nth <= CountOf(clean.calls, call) && !HasFailure(); ++nth, ++runs) {
        SCOPED_TRACE(std::string(NameOf(call)) + " number " + std::to_string(nth) + ", fault " +
                     std::to_string(static_cast<int>(fault)));
        const FaultPlan plan = {call, fault, nth};
        const FaultyRun run = Run({plan});
        const Tree after = After();
        const bool harmless = fault == Fault::kInterrupted || fault == Fault::kOneByteShort;
        if (run.status == 0) {
          EXPECT_EQ(run.out, clean.out);
          EXPECT_TRUE(after == clean_);
        } else {
          EXPECT_FALSE(harmless);
          ExpectFailure(plan, run);
        }
        ExpectNothingSpoiled(run, after);
      }
    }
  }
  for (std::size_t row = 0; row < GetParam().outcomes.size(); ++row) {
    EXPECT_EQ(seen_.count(static_cast<std::ptrdiff_t>(row)), 1U)
        << "never seen: " << NameOf(GetParam().outcomes[row].call) << ' '
        << GetParam().outcomes[row].message;
  }
  RecordProperty("runs", runs);
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultSweep, ::testing::ValuesIn(Scenarios()),
                         [](const auto& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace moldex::test

// Small archives with every kind of entry, cut at every length, with every bit turned and every
// length field set to what hurts: the run ends by itself with a message and a status, never gives
// wrong bytes for right ones and never writes beside its target. With four threads it does the same
// as with one.
#include <algorithm>
#include <random>
#include <set>
#include <utility>

#include "driver/in_process.h"
#include "support/noise.h"
#include "support/qel_bytes.h"

namespace moldex::test {
namespace {

class DamageTest : public FolderTest {
 protected:
  DamageTest() { Write("beside", "untouched"); }

  RunResult RunWith(unsigned workers, const std::string& line) const {
    Remove("out");
    Make({{"out", DirectoryNode()}});
    return RunInProcess(folder_.Path(), line,
                        [=](CCmdLineOptions& options) { options.workers = workers; });
  }

  // Verifies, lists and extracts an archive into a new "out": each has something to say, and
  // nothing beside "out" changes. The status of the extraction.
  int TryAll(const std::string& archive, const std::string& options = "") const {
    Write("a", archive);
    RunResult run;
    for (const std::string line : {"-tf a", "-df a", "-xf a -R out"}) {
      RunResult before = std::exchange(run, RunWith(1, line + options));
      EXPECT_TRUE(run.out.starts_with("MOLDEX")) << run.out;
      if (line == "-tf a") continue;
      EXPECT_TRUE(line == "-df a" || run.status != 0 || before.status == 0);
      if (!is_old_) ExpectSameWithWorkers(line + options, run);
    }
    Tree tree = Below("");
    EXPECT_EQ(tree["beside"].content, "untouched");
    std::erase_if(tree, [](const auto& item) { return item.first.starts_with("out"); });
    EXPECT_EQ(tree.size(), 2U);
    return run.status;
  }

  void ExpectSameWithWorkers(const std::string& line, const RunResult& alone) const {
    const Tree out = Out();
    const RunResult run = RunWith(4, line);
    EXPECT_EQ(run.out, alone.out) << line;
    EXPECT_EQ(run.status, alone.status) << line;
    EXPECT_TRUE(Out() == out) << line;
  }

  // The extracted files. An incomplete one has the time at which it was made.
  Tree Out() const {
    Tree tree = Below("out");
    for (auto& [name, node] : tree) {
      if (node.mode == 0600) node.mtime = 0;
    }
    return tree;
  }

  bool is_old_ = false;  // no format that several threads read
};

constexpr char kText[] = "some text, some more text";

// With the parameter true, the archive is one in long-name mode, with a backup stream.
class DamageSweep : public DamageTest, public ::testing::WithParamInterface<bool> {
 protected:
  DamageSweep() {
    QelEntry file = FileEntry("dir/file", kText, 0100644, 20);
    file.user_data = "user";
    QelEntry shortcut = FileEntry("sc", "bytes of it", 0x11A4);
    shortcut.type = "SC";
    std::vector<QelEntry> entries = {DirectoryEntry("dir"), file, FileEntry("mt", ""), shortcut,
                                     LinkEntry("lk", "dir/file")};
    contents_ = {kText, "", "bytes of it"};
    if (GetParam()) {
      entries.push_back(FileEntry("bk", BackupStream(4, "what this system has no place for") +
                                            BackupStream(1, "of a backup stream")));
      contents_.insert("of a backup stream");
    }
    good_ = BuildArchive(entries, GetParam() ? kLongNamesHeader : kArchiveHeader);
    entries_ = ParseArchive(good_);
  }

  bool ContentsAreRight() const {
    std::multiset<std::string> contents;
    for (const auto& [name, node] : Below("out")) {
      if (node.kind == Kind::kFile) contents.insert(node.content);
    }
    return contents == contents_;
  }

  // No checksum covers names, times and user data, which then are what they say. Nor does one cover
  // an entry's mode, which may close its file to who compares it, and the bit of the archive's
  // header that makes a backup stream a file's bytes.
  bool IsUncovered(std::size_t offset) const {
    constexpr std::size_t kLongNamesAt = 3;
    return offset == kLongNamesAt ||
           std::any_of(entries_.begin(), entries_.end(), [offset](const QelEntry& entry) {
             return offset >= entry.offset + kModeAt && offset < entry.offset + kSizeLowAt;
           });
  }

  void ExpectFailureOrTheRightBytes(const std::string& archive, std::size_t offset) const {
    EXPECT_TRUE(TryAll(archive) != 0 || IsUncovered(offset) || ContentsAreRight());
  }

  // A field of `width` bytes at `offset`, set to its limits and to more bytes than follow it.
  void SweepField(std::size_t offset, std::size_t width) const {
    const std::uint32_t largest = width == 2 ? 0xFFFF : 0xFFFFFFFF;
    const auto left = static_cast<std::uint32_t>(good_.size() - offset - width);
    for (const std::uint32_t value : {0U, 1U, largest, largest / 2 + 1, left + 1}) {
      SCOPED_TRACE("field at " + std::to_string(offset) + ": " + std::to_string(value));
      std::string archive = good_;
      width == 2 ? SetU16(archive, offset, value) : SetU32(archive, offset, value);
      ExpectFailureOrTheRightBytes(archive, offset);
    }
  }

  std::string good_;
  std::vector<QelEntry> entries_;
  std::multiset<std::string> contents_;
};

TEST_P(DamageSweep, EveryCutIsAReadingErrorUnlessItIsBetweenEntries) {
  std::set<std::size_t> boundaries = {kArchiveHeader.size()};
  for (const QelEntry& entry : entries_)
    boundaries.insert(entry.offset);
  EXPECT_EQ(TryAll(good_), 0);
  EXPECT_TRUE(ContentsAreRight());
  for (std::size_t length = 0; length < good_.size(); ++length) {
    SCOPED_TRACE(length);
    const bool is_bare_shortcut = length == entries_[3].offset + 34 + sizeof("sc");
    const int status = is_bare_shortcut ? 45 : 5;  // which is legal, and leads nowhere
    EXPECT_EQ(TryAll(good_.substr(0, length)), boundaries.contains(length) ? 0 : status);
  }
}

TEST_P(DamageSweep, NoTurnedBitGoesWrong) {
  for (std::size_t bit = 0; bit < 8 * good_.size(); ++bit) {
    SCOPED_TRACE("byte " + std::to_string(bit / 8) + " bit " + std::to_string(bit % 8));
    std::string archive = good_;
    FlipByte(archive, bit / 8, 1U << bit % 8);
    ExpectFailureOrTheRightBytes(archive, bit / 8);
  }
}

TEST_P(DamageSweep, NoLengthGoesWrong) {
  for (const QelEntry& entry : entries_) {
    for (const std::size_t at : {kSizeLowAt, kSizeHighAt})
      SweepField(entry.offset + at, 4);
    for (const std::size_t at : {kUserDataLengthAt, kNameLengthAt})
      SweepField(entry.offset + at, 2);
    for (const QelBlock& block : entry.blocks)
      SweepField(block.offset + kPayloadLengthAt, 4);
    // The length at the start of the compressed stream.
    if (!entry.blocks.empty()) SweepField(entry.blocks[0].offset + kBlockHeaderBytes, 4);
  }
}

INSTANTIATE_TEST_SUITE_P(Archives, DamageSweep, ::testing::Bool(),
                         [](const auto& archive) { return archive.param ? "LongNames" : "Plain"; });

// Faults of an entry, small or long, of which two come together.
void (*const kEntryFaults[])(QelEntry&) = {
    [](QelEntry& e) { e.type = "XX"; },
    [](QelEntry& e) { e.name = "../" + e.name; },
    [](QelEntry& e) { e.name += "\xFF"; },
    [](QelEntry& e) { e.name.resize(300, 'n'); },
    [](QelEntry& e) { e.mode = 0100444; },
    [](QelEntry& e) { e.checksum ^= 1; },
    [](QelEntry& e) { --e.size_low; },
    [](QelEntry& e) { ++e.size_low; },
    [](QelEntry& e) { e.size_low = 0; },
    [](QelEntry& e) { e.blocks.clear(); },
    [](QelEntry& e) { e.blocks.push_back(e.blocks.back()); },
    [](QelEntry& e) { e.blocks.back().type = "XX"; },
    [](QelEntry& e) { e.blocks.back().payload.resize(70'000); },
    [](QelEntry& e) { e.blocks.back().payload.clear(); },
    [](QelEntry& e) { e.blocks[e.blocks.size() / 2].payload.insert(0, "x"); }};
constexpr std::size_t kRefused = 1;

std::vector<QelEntry> SmallAndLongEntries() {
  std::string text = Noise(500'000, 1);
  for (char& letter : text)
    letter = static_cast<char>('a' + (letter & 15));
  QelEntry streams = FileEntry("d/streams", text.substr(0, 200'000));
  const QelEntry second = FileEntry("", text.substr(200'000));
  streams.blocks.back().type = "DA";
  streams.blocks.insert(streams.blocks.end(), second.blocks.begin(), second.blocks.end());
  streams.size_low = 500'000;
  streams.checksum = Checksum(text);
  std::vector<QelEntry> entries = {DirectoryEntry("d"),
                                   FileEntry("d/a", "small"),
                                   streams,
                                   FileEntry("d/zeros", std::string(2'000'000, '\0')),
                                   FileEntry("d/long", text),
                                   LinkEntry("d/link", "a")};
  for (int i = 0; i < 40; ++i)
    entries.push_back(FileEntry("d/" + std::to_string(i % 30), "number " + std::to_string(i)));
  return entries;
}

TEST_F(DamageTest, TwoFaultsComeInTheirOrderWhoeverFindsThem) {
  const std::vector<QelEntry> good = SmallAndLongEntries();
  EXPECT_EQ(TryAll(BuildArchive(good)), 0);
  std::mt19937 random(std::random_device{}());
  for (std::size_t i = 0; i < 60; ++i) {
    // First, each of the faults in an entry that is refused.
    const bool is_refused = i < std::size(kEntryFaults);
    std::vector<QelEntry> entries = good;
    std::string what;
    std::size_t at = is_refused ? 2 + i % 3 : random() % 10;
    for (int fault = 0; fault < 2; ++fault, at = is_refused ? at : random() % 10) {
      const std::size_t drawn = random() % std::size(kEntryFaults);
      const std::size_t number = !is_refused ? drawn : fault == 0 ? i : kRefused;
      what += "fault " + std::to_string(number) + " of entry " + std::to_string(at) + "; ";
      if (!entries[at].blocks.empty()) kEntryFaults[number](entries[at]);
    }
    SCOPED_TRACE(what);
    const std::string archive = BuildArchive(entries);
    for (const char* names : {"", " d/zeros d/3"})
      TryAll(archive, names);
  }
}

// A tar archive: where its headers begin, those of names and records for the next entry among them.
constexpr std::size_t kTarBlock = 512;
constexpr std::size_t kTarHeaders[] = {0, 512, 2048, 3072, 4096, 5120};
const std::set<std::size_t> kTarEnds = {512, 2048, 4096, 6144};  // between entries

class TarDamage : public DamageTest {
 protected:
  TarDamage() { is_old_ = true; }
  const std::string good_ = ReadFile(MOLDEX_TAR_ARCHIVES "/sweep.tar");
};

TEST_F(TarDamage, NoChangedByteOfAHeaderGoesUnseen) {
  ASSERT_EQ(TryAll(good_), 0);
  const Tree right = Below("out");
  for (const std::size_t header : kTarHeaders) {
    for (std::size_t at = 0; at < kTarBlock; ++at) {
      SCOPED_TRACE(header + at);
      std::string archive = good_;
      FlipByte(archive, header + at, at % 3 == 0 ? 0x80 : 0x11);
      const int status = TryAll(archive);
      // The sum says the same with other signs around its digits.
      const bool same = at >= 148 && at < 156 && status == 0;
      EXPECT_TRUE(status == 40 || (same && Below("out") == right)) << status;
    }
  }
}

TEST_F(TarDamage, NoChangedByteOfARecordLeavesTheTarget) {
  for (const std::size_t record : {kTarHeaders[2] + kTarBlock, kTarHeaders[4] + kTarBlock}) {
    for (std::size_t at = 0; at < 48; ++at) {
      for (const unsigned mask : {1u, 0x0Eu, 0x1Fu, 0x80u}) {
        SCOPED_TRACE(record + at);
        std::string archive = good_;
        FlipByte(archive, record + at, mask);
        TryAll(archive);
      }
    }
  }
}

TEST_F(TarDamage, EveryCutIsReportedUnlessItIsBetweenEntries) {
  for (std::size_t length = kTarBlock; length <= good_.size(); length += kTarBlock / 4) {
    for (const std::size_t cut : {length - 1, length, length + 1}) {
      if (cut > good_.size()) continue;
      SCOPED_TRACE(cut);
      const bool clean = cut >= *kTarEnds.rbegin() + kTarBlock || kTarEnds.contains(cut);
      EXPECT_EQ(TryAll(good_.substr(0, cut)), clean ? 0 : 40);
    }
  }
}

}  // namespace
}  // namespace moldex::test

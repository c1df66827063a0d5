// A small archive, damaged at every byte and cut at every length: the program ends by itself with a
// status that tells, and never gives wrong bytes for right ones or writes beside its target.
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

class Damage : public ProgramTest {
 protected:
  Damage() {
    QelEntry file = FileEntry("dir/file", "some text, some more text", 0100644, 20);
    file.user_data = "user";
    QelEntry shortcut = FileEntry("sc", "bytes of it", 0x11A4);
    shortcut.type = "SC";
    good_ = BuildArchive({DirectoryEntry("dir"), file, FileEntry("mt", ""), shortcut});
    contents_ = {"some text, some more text", "", "bytes of it"};
    Make({{"beside/x", FileNode("untouched")}});
    entries_ = ParseArchive(good_);
  }

  // Extracts `archive` into an emptied out/ and returns how it ended.
  RunResult ExtractInto(const std::string& archive) {
    RemoveTree(Path("out"));
    Write("a.qel", archive);
    std::filesystem::create_directory(Path("out"));
    RunResult result = Run("-xf a.qel -R out");
    const std::filesystem::directory_iterator all(folder_.Path());
    EXPECT_EQ(std::distance(begin(all), end(all)), 3);  // a.qel, beside, out
    EXPECT_EQ(Below("beside"), (Tree{{"x", FileNode("untouched")}}));
    return result;
  }

  std::multiset<std::string> ExtractedContents() const {
    std::multiset<std::string> contents;
    for (const auto& [name, node] : Below("out")) {
      if (node.kind == Kind::kFile) contents.insert(node.content);
    }
    return contents;
  }

  bool IsInMode(std::size_t offset) const {
    return std::any_of(entries_.begin(), entries_.end(), [offset](const QelEntry& entry) {
      return offset >= entry.offset + kModeAt && offset < entry.offset + kSizeLowAt;
    });
  }

  // Lengths at which a cut archive is a whole one with fewer entries.
  bool IsEntryBoundary(std::size_t length) const {
    return length == kArchiveHeader.size() || length == good_.size() ||
           std::any_of(entries_.begin(), entries_.end(),
                       [length](const QelEntry& entry) { return entry.offset == length; });
  }

  // Every byte with all its bits turned, and with one of them turned.
  void SweepFlips(std::size_t begin, std::size_t end) {
    for (std::size_t offset = begin; offset < end; ++offset) {
      for (const unsigned mask : {0xFFU, 1U << (offset % 8)}) {
        SCOPED_TRACE("byte " + std::to_string(offset) + " mask " + std::to_string(mask));
        std::string archive = good_;
        FlipByte(archive, offset, mask);
        const RunResult extracted = ExtractInto(archive);
        const RunResult verified = Run("-df a.qel");
        (void)Run("-tf a.qel");  // ends by itself
        if (extracted.status != 0) continue;
        EXPECT_EQ(verified.status, 0) << verified.out;
        // A kind in the mode that became another may leave an entry without its data; all else
        // that the run calls a success must be the right bytes.
        EXPECT_TRUE(IsInMode(offset) || ExtractedContents() == contents_);
      }
    }
  }

  std::string good_;
  std::vector<QelEntry> entries_;
  std::multiset<std::string> contents_;
};

TEST_F(Damage, TheUndamagedArchiveIsExtracted) {
  EXPECT_EQ(ExtractInto(good_).status, 0);
  EXPECT_EQ(ExtractedContents(), contents_);
}

TEST_F(Damage, NoFlippedByteInTheFirstHalfGoesWrong) { SweepFlips(0, good_.size() / 2); }

TEST_F(Damage, NoFlippedByteInTheSecondHalfGoesWrong) {
  SweepFlips(good_.size() / 2, good_.size());
}

TEST_F(Damage, EveryCutIsAReadingErrorUnlessItIsBetweenEntries) {
  for (std::size_t length = 0; length < good_.size(); ++length) {
    SCOPED_TRACE(length);
    const int status = IsEntryBoundary(length) ? 0 : 5;
    const RunResult extracted = ExtractInto(good_.substr(0, length));
    EXPECT_EQ(extracted.status, status) << extracted.out;
    EXPECT_EQ(Run("-df a.qel").status, status);
    (void)Run("-tf a.qel");
  }
}

}  // namespace
}  // namespace moldex::test

// A small tar archive with every kind of header, each of its header's bytes changed and cut at
// every length that matters: the run ends by itself, says so, and never writes beside its target.
#include <algorithm>

#include "driver/in_process.h"
#include "oldformat/tar_bytes.h"
#include "support/qel_bytes.h"

namespace moldex::test {
namespace {

class TarDamage : public DamageTest {
 protected:
  TarDamage() {
    const std::vector<TarItem> items = {
        {"d/", '5', ""},
        {"d/f", '0', std::string(600, 'f')},
        GnuLongItem("d/long"),
        {"l", '0', "second"},
        PaxItem(PaxRecord("path", "d/pax") + PaxRecord("size", "5") + PaxRecord("mtime", "1.5")),
        {"p", '0', "third"}};
    bool about_an_entry = false;
    for (const TarItem& item : items) {
      if (!about_an_entry) boundaries_.push_back(good_.size());
      about_an_entry = item.type == 'L' || item.type == 'x';
      headers_.push_back(good_.size());
      good_ += EncodeTarItem(item);
    }
    boundaries_.push_back(good_.size());
    good_ += std::string(2 * kTarBlock, '\0');
  }

  // Runs all three commands; the status of the last one.
  int TryAll(const std::string& archive) const {
    return Try("a.tar", archive, {"-tf a.tar", "-df a.tar", "-xf a.tar -R out"}).back();
  }

  std::string good_;
  std::vector<std::size_t> headers_;
  std::vector<std::size_t> boundaries_;  // where an archive may end
};

TEST_F(TarDamage, NoChangedByteOfAHeaderGoesUnseen) {
  ASSERT_EQ(TryAll(good_), 0);
  const Tree right = Below("out");
  ASSERT_EQ(right.size(), 4u);
  for (const std::size_t header : headers_) {
    for (std::size_t at = 0; at < kTarBlock; ++at) {
      SCOPED_TRACE(header + at);
      std::string archive = good_;
      FlipByte(archive, header + at, at % 3 == 0 ? 0x80 : 0x11);
      const bool in_sum = at >= kTarChecksumAt && at < kTarChecksumAt + 8;
      const int status = Try("a.tar", archive, {"-xf a.tar -R out"})[0];
      // The sum says the same with other signs around its digits.
      const bool same = in_sum && status == 0 && Below("out") == right;
      EXPECT_TRUE(same || status == 40) << status;
    }
  }
}

TEST_F(TarDamage, NoChangedByteOfARecordLeavesTheTarget) {
  for (const std::size_t record : {headers_[2] + kTarBlock, headers_[4] + kTarBlock}) {
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
  const std::size_t end = boundaries_.back();
  for (std::size_t length = kTarBlock; length <= good_.size(); length += kTarBlock / 4) {
    for (const std::size_t cut : {length - 1, length, length + 1}) {
      if (cut > good_.size()) continue;
      SCOPED_TRACE(cut);
      const bool clean = cut >= end + kTarBlock || std::find(boundaries_.begin(), boundaries_.end(),
                                                             cut) != boundaries_.end();
      EXPECT_EQ(TryAll(good_.substr(0, cut)), clean ? 0 : 40);
    }
  }
}

}  // namespace
}  // namespace moldex::test

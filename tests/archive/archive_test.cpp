// The checksum, in every way that this machine can compute it, against zlib's, which starts and
// ends inverted; the fixed bytes in front of an entry, against a layout written by hand; and the
// proof of an entry of several streams, against reading it in order.
#include "archive/checksum.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <span>
#include <vector>

#include "archive/checksum_variants.h"
#include "archive/container.h"
#include "archive/entry_header.h"
#include "archive/long_entry_proof.h"
#include "archive/parallel_source.h"
#include "support/noise.h"
#include "support/qel_bytes.h"
#include "support/temp_dir.h"

namespace moldex::test {
namespace {

std::uint32_t ByZlib(std::uint32_t checksum, std::span<const std::uint8_t> bytes) {
  return ~static_cast<std::uint32_t>(
      crc32(~checksum, bytes.data(), static_cast<uInt>(bytes.size())));
}

std::vector<std::uint8_t> RandomBytes(std::size_t count) {
  const std::string noise = Noise(count, 1);
  return {noise.begin(), noise.end()};
}

std::vector<ChecksumVariant> VariantsHere() {
  std::vector<ChecksumVariant> variants = {{"chosen", nullptr, UpdateChecksum},
                                           {"portable", nullptr, UpdateChecksumPortably}};
  for (const ChecksumVariant& variant : ChecksumVariantsOfCpu()) {
    if (variant.runs_here()) variants.push_back(variant);
  }
  return variants;
}

TEST(Checksum, IsZlibsAtEveryLengthAndAlignment) {
  const auto bytes = RandomBytes(700);
  for (const ChecksumVariant& variant : VariantsHere()) {
    for (std::size_t length = 0; length <= 600; ++length) {
      for (std::size_t start = 0; start < 64; ++start) {
        const auto part = std::span(bytes).subspan(start, length);
        ASSERT_EQ(variant.update(0x12345678, part), ByZlib(0x12345678, part))
            << variant.name << ' ' << start << ' ' << length;
      }
    }
    EXPECT_EQ(variant.update(0, bytes), ByZlib(0, bytes)) << variant.name;
  }
}

TEST(Checksum, IsTheSameHoweverTheBytesAreSplit) {
  const auto bytes = RandomBytes(1'000'000);
  std::mt19937 random(2);
  for (const ChecksumVariant& variant : VariantsHere()) {
    for (const unsigned longest : {100U, 700U, 5000U, 300'000U}) {
      std::uint32_t checksum = 0;
      std::uint32_t combined = 0;
      for (auto left = std::span<const std::uint8_t>(bytes); !left.empty();) {
        const std::size_t piece = std::min<std::size_t>(left.size(), random() % longest);
        checksum = variant.update(checksum, left.first(piece));
        combined = CombineChecksums(combined, variant.update(0, left.first(piece)), piece);
        left = left.subspan(piece);
      }
      EXPECT_EQ(checksum, ByZlib(0, bytes)) << variant.name << ' ' << longest;
      EXPECT_EQ(combined, checksum) << variant.name << ' ' << longest;
    }
  }
}

using HeaderBytes = std::array<std::uint8_t, kEntryHeaderBytes>;

// No byte occurs twice, so that none can be taken for another.
constexpr EntryHeader kHeader = {kTypeDirectory, 0x04030201, 0x14131211, 0x24232221, 0x34333231,
                                 0x44434241,     0x54535251, 0x6261,     0x7271};

constexpr HeaderBytes kBytes = {'D',  'R',               //
                                0x01, 0x02, 0x03, 0x04,  // mode
                                0x11, 0x12, 0x13, 0x14,  // low half of the size
                                0,    0,    0,    0,     //
                                0x21, 0x22, 0x23, 0x24,  // high half of the size
                                0x31, 0x32, 0x33, 0x34, 0x41, 0x42, 0x43, 0x44,  // time
                                0x51, 0x52, 0x53, 0x54,                          // reserved
                                0x61, 0x62,                                      // user data
                                0x71, 0x72};                                     // name

TEST(EntryHeaderBytes, StandInTheirPlacesAndTheZeroWordIsNotRead) {
  HeaderBytes bytes = kBytes;
  bytes[10] = 0xFF;
  for (const bool long_names : {false, true}) {
    EntryHeader header = DecodeEntryHeader(bytes, long_names);
    EXPECT_EQ(header.time_high, long_names ? kHeader.time_high : 0u);
    EXPECT_EQ(header.size_bytes(), 0x2423222114131211u);
    header.time_high = kHeader.time_high;
    for (const EntryHeader& each : {header, kHeader}) {
      HeaderBytes encoded;
      encoded.fill(0xEE);
      EncodeEntryHeader(each, encoded);
      EXPECT_EQ(encoded, kBytes);
    }
  }
}

constexpr std::uint64_t kStreamBytes = 200'000;

// An entry of four streams, the last one shorter, between two others.
std::vector<QelEntry> EntriesWithLongOne(std::size_t piece) {
  std::string content = Noise(3 * kStreamBytes + 777, 3);
  for (char& byte : content)
    byte = static_cast<char>('a' + (byte & 3));
  QelEntry entry = FileEntry("long", "a");
  entry.size_low = static_cast<std::uint32_t>(content.size());
  entry.checksum = Checksum(content);
  entry.blocks.clear();
  for (std::size_t at = 0; at < content.size(); at += kStreamBytes) {
    for (QelBlock& block : FileEntry("", content.substr(at, kStreamBytes), 0, piece).blocks)
      entry.blocks.push_back({"DA", block.payload});
  }
  entry.blocks.back().type = "ED";
  return {FileEntry("before", "some text"), entry, FileEntry("after", "more text")};
}

// The names of the entries, and how verification ends. With `takes_data` false it asks for none.
std::string Verified(const std::string& archive, bool in_order, bool takes_data) {
  CRunContext& context = CRunContext::GetInstance();
  CContainer container(context, archive, CContainer::kRead);
  CParallelSource ahead(container.reader(), context.progress(),
                        {3, false, true, kStreamBytes, [](const CDirEntry&) { return true; }});
  IEntrySource& source = in_order ? static_cast<IEntrySource&>(container.reader()) : ahead;
  std::string seen;
  try {
    while (const CDirEntry* entry = source.NextEntry()) {
      seen += entry->GetName() + ' ';
      if (!takes_data) continue;
      while (!source.NextPiece().bytes.empty()) {
      }
      source.CheckEnd();
    }
  } catch (const CExcept& failure) {
    seen += failure.message();
  }
  return seen;
}

TEST(LongEntry, IsProvedOnlyIfItIsWholeAndFailsAsInOrder) {
  const TempDir folder;
  const std::string path = (folder.Path() / "a.qel").string();
  const auto check = [&](const std::string& what, const std::string& bytes, LongEntry entry,
                         bool is_right) {
    WriteFile(path, bytes);
    CFileHandle file;
    ASSERT_TRUE(file.Open(path, kOpenExisting));
    entry.archive_name = path;
    entry.identity = file.Status()->identity;
    EXPECT_EQ(ProveLongEntry(entry, 3, CRunContext::GetInstance().progress()).has_value(), is_right)
        << what;
    for (const bool takes_data : {false, true})
      EXPECT_EQ(Verified(path, false, takes_data), Verified(path, true, takes_data)) << what;
  };
  const auto whole_entry = [](const QelEntry& entry) {
    return LongEntry{"", {}, entry.blocks[0].offset, entry.size_low, kStreamBytes};
  };
  for (const std::size_t piece : {8, 9, 10, 11, 13, 17, 1000, 65536}) {
    const std::string bytes = BuildArchive(EntriesWithLongOne(piece));
    check(std::to_string(piece), bytes, whole_entry(ParseArchive(bytes)[1]), true);
  }

  const std::string whole = BuildArchive(EntriesWithLongOne(kMaxPayload / 4));
  const QelEntry entry = ParseArchive(whole)[1];
  const std::size_t second = entry.blocks[entry.blocks.size() / 4 + 1].offset;
  const std::size_t end = entry.checksum_offset;
  const std::pair<const char*, std::function<void(std::string&)>> damages[] = {
      {"a byte", [&](auto& bytes) { FlipByte(bytes, second + 5000, 0x10); }},
      {"the checksum", [&](auto& bytes) { FlipByte(bytes, end, 1); }},
      {"a block's type", [&](auto& bytes) { SetByte(bytes, second, 'X'); }},
      {"a block's length", [&](auto& bytes) { SetU32(bytes, second + 2, 0); }},
      {"an early end", [&](auto& bytes) { bytes.replace(second, 2, "ED"); }},
      {"a missing end", [&](auto& bytes) { bytes.replace(entry.blocks.back().offset, 2, "DA"); }},
      {"a surplus block",
       [&](auto& bytes) {
         bytes.insert(end + 4, {"ED\1\0\0\0a1234", 11});
       }},
      {"cut in a stream", [&](auto& bytes) { bytes.resize(second + 3000); }},
      {"cut in the checksum", [&](auto& bytes) { bytes.resize(end + 3); }},
      {"the size", [&](auto& bytes) { FlipByte(bytes, entry.offset + kSizeLowAt, 1); }},
  };
  for (const auto& [what, damage] : damages) {
    std::string bytes = whole;
    damage(bytes);
    LongEntry announced = whole_entry(entry);
    announced.size_bytes = U32At(bytes, entry.offset + kSizeLowAt);
    check(what, bytes, announced, false);
  }
  CRunContext::Destroy();
}

}  // namespace
}  // namespace moldex::test

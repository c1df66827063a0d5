// The checksum, in every way that this machine can compute it, against zlib's, which starts and
// ends inverted; and the fixed bytes in front of an entry, against a layout written by hand.
#include "archive/checksum.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <random>
#include <span>
#include <vector>

#include "archive/checksum_variants.h"
#include "archive/entry_header.h"
#include "support/noise.h"

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
      for (auto left = std::span<const std::uint8_t>(bytes); !left.empty();) {
        const std::size_t piece = std::min<std::size_t>(left.size(), random() % longest);
        checksum = variant.update(checksum, left.first(piece));
        left = left.subspan(piece);
      }
      EXPECT_EQ(checksum, ByZlib(0, bytes)) << variant.name << ' ' << longest;
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

}  // namespace
}  // namespace moldex::test

// The checksum, in every way that this machine can compute it, against zlib's, which starts and
// ends inverted.
#include "archive/checksum.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <span>
#include <vector>

#include "archive/checksum_variants.h"

namespace moldex::test {
namespace {

std::uint32_t ByZlib(std::uint32_t checksum, std::span<const std::uint8_t> bytes) {
  return ~static_cast<std::uint32_t>(
      crc32(~checksum, bytes.data(), static_cast<uInt>(bytes.size())));
}

std::vector<std::uint8_t> RandomBytes(std::size_t count) {
  std::mt19937 random(1);
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
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

}  // namespace
}  // namespace moldex::test

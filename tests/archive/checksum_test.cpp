// The checksum against zlib's, which starts and ends inverted.
#include "archive/checksum.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <span>
#include <vector>

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

TEST(Checksum, IsZlibsAtEveryLengthAndAlignment) {
  const auto bytes = RandomBytes(400);
  for (std::size_t start = 0; start < 20; ++start) {
    for (std::size_t length = 0; length <= 300; ++length) {
      const auto part = std::span(bytes).subspan(start, length);
      ASSERT_EQ(UpdateChecksum(0, part), ByZlib(0, part)) << start << ' ' << length;
      ASSERT_EQ(UpdateChecksum(0x12345678, part), ByZlib(0x12345678, part)) << length;
    }
  }
}

TEST(Checksum, IsTheSameHoweverTheBytesAreSplit) {
  const auto bytes = RandomBytes(1'000'000);
  std::mt19937 random(2);
  for (int round = 0; round < 10; ++round) {
    std::uint32_t checksum = 0;
    for (auto left = std::span<const std::uint8_t>(bytes); !left.empty();) {
      const std::size_t piece = std::min<std::size_t>(left.size(), random() % 5000);
      checksum = UpdateChecksum(checksum, left.first(piece));
      left = left.subspan(piece);
    }
    ASSERT_EQ(checksum, ByZlib(0, bytes));
  }
}

}  // namespace
}  // namespace moldex::test

#include "archive/checksum.h"

#include <array>
#include <cstddef>

#include "archive/checksum_variants.h"
#include "base/bytes.h"

namespace moldex {
namespace {

// Sixteen bytes at a time: table k gives what a byte contributes when k more bytes follow it, so
// that the contributions of sixteen bytes can be looked up independently and xored together
// ("slicing", Kounavis and Berry, 2005).
constexpr std::size_t kSlices = 16;

using Table = std::array<std::uint32_t, 256>;

constexpr std::array<Table, kSlices> MakeTables() {
  std::array<Table, kSlices> tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit)
      crc = (crc >> 1) ^ ((crc & 1) != 0 ? kChecksumPolynomial : 0);
    tables[0][byte] = crc;
  }
  for (std::size_t slice = 1; slice < kSlices; ++slice) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t before = tables[slice - 1][byte];
      tables[slice][byte] = (before >> 8) ^ tables[0][before & 0xFF];
    }
  }
  return tables;
}

constexpr auto kTables = MakeTables();
static_assert(kTables[0][1] == 0x77073096 && kTables[0][3] == 0x990951BA);

// The contribution of four bytes that are followed by `kFollowing` more bytes of the slice.
template <std::size_t kFollowing>
std::uint32_t Contribution(std::uint32_t word) {
  return kTables[kFollowing + 3][word & 0xFF] ^ kTables[kFollowing + 2][(word >> 8) & 0xFF] ^
         kTables[kFollowing + 1][(word >> 16) & 0xFF] ^ kTables[kFollowing][word >> 24];
}

// The product of two polynomials modulo the checksum's. The highest bit is that of x^0.
constexpr std::uint32_t Multiply(std::uint32_t left, std::uint32_t right) {
  std::uint32_t product = 0;
  for (; left != 0; left <<= 1) {
    if ((left & 0x80000000) != 0) product ^= right;
    right = (right >> 1) ^ ((right & 1) != 0 ? kChecksumPolynomial : 0);
  }
  return product;
}

auto FastestHere() {
  for (const ChecksumVariant& variant : ChecksumVariantsOfCpu()) {
    if (variant.runs_here()) return variant.update;
  }
  return &UpdateChecksumPortably;
}

}  // namespace

std::uint32_t UpdateChecksum(std::uint32_t checksum, std::span<const std::uint8_t> bytes) {
  static const auto update = FastestHere();
  return update(checksum, bytes);
}

// Without inversions the checksum is linear: data that follow multiply it by x^8 for each of their
// bytes, and add their own checksum. The power is computed by repeated squaring (Knuth, "The Art of
// Computer Programming", volume 2, section 4.6.3).
std::uint32_t CombineChecksums(std::uint32_t first, std::uint32_t second,
                               std::uint64_t second_length) {
  std::uint32_t power = 0x00800000;  // x^8
  for (; second_length != 0; second_length >>= 1) {
    if ((second_length & 1) != 0) first = Multiply(first, power);
    power = Multiply(power, power);
  }
  return first ^ second;
}

std::uint32_t UpdateChecksumPortably(std::uint32_t checksum, std::span<const std::uint8_t> bytes) {
  const std::uint8_t* next = bytes.data();
  std::size_t left = bytes.size();
  for (; left >= kSlices; left -= kSlices, next += kSlices) {
    checksum = Contribution<12>(checksum ^ GetU32(next)) ^ Contribution<8>(GetU32(next + 4)) ^
               Contribution<4>(GetU32(next + 8)) ^ Contribution<0>(GetU32(next + 12));
  }
  for (; left > 0; --left)
    checksum = (checksum >> 8) ^ kTables[0][(checksum ^ *next++) & 0xFF];
  return checksum;
}

}  // namespace moldex

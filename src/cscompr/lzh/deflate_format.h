// The alphabets of RFC 1951 (sections 3.2.5 to 3.2.7) for encoder and decoder: base values and
// extra bits of match lengths and distances, the fixed code lengths, and the order in which a
// dynamic block sends the lengths of its code length code. The tables are computed rather than
// pasted.
#ifndef MOLDEX_CSCOMPR_LZH_DEFLATE_FORMAT_H_
#define MOLDEX_CSCOMPR_LZH_DEFLATE_FORMAT_H_

#include <array>
#include <cstdint>

#include "cscompr/huffman/limits.h"

namespace cscompr {

inline constexpr int kMinMatch = 3;
inline constexpr int kMaxMatch = 258;

inline constexpr int kLiteralCount = 256;
inline constexpr int kEndOfBlock = 256;
inline constexpr int kFirstLengthSymbol = 257;
inline constexpr int kLengthCodes = 29;
inline constexpr int kLiteralLengthCodes = 286;  // literals, end of block, lengths
inline constexpr int kFixedLiteralLengthCodes = kMaxSymbols;
inline constexpr int kDistanceCodes = 30;
inline constexpr int kCodeLengthCodes = 19;

inline constexpr int kMaxCodeLengthCodeBits = 7;

// Symbols of the code length alphabet that mean runs.
inline constexpr int kRepeatPrevious = 16;   // 3 to 6 times, 2 extra bits
inline constexpr int kRepeatZeroShort = 17;  // 3 to 10 times, 3 extra bits
inline constexpr int kRepeatZeroLong = 18;   // 11 to 138 times, 7 extra bits

inline constexpr std::array<std::uint8_t, kCodeLengthCodes> kCodeLengthOrder = {
    16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

// The values of one symbol: base to base + 2^extra_bits - 1.
struct ValueRange {
  std::uint16_t base = 0;
  std::uint8_t extra_bits = 0;
};

namespace internal {

// The first 2 * per_step symbols have no extra bits. After them the number of extra bits rises by
// one every `per_step` symbols.
template <int kCount>
constexpr std::array<ValueRange, kCount> MakeRanges(int first_base, int per_step) {
  std::array<ValueRange, kCount> ranges{};
  int base = first_base;
  for (int i = 0; i < kCount; ++i) {
    const int extra = i < 2 * per_step ? 0 : i / per_step - 1;
    ranges[static_cast<std::size_t>(i)] = {static_cast<std::uint16_t>(base),
                                           static_cast<std::uint8_t>(extra)};
    base += 1 << extra;
  }
  return ranges;
}

constexpr std::array<ValueRange, kLengthCodes> MakeLengthRanges() {
  auto ranges = MakeRanges<kLengthCodes>(kMinMatch, 4);
  ranges[kLengthCodes - 1] = {kMaxMatch, 0};  // the longest match has a symbol of its own
  return ranges;
}

constexpr std::array<std::uint8_t, kFixedLiteralLengthCodes> MakeFixedLengths() {
  std::array<std::uint8_t, kFixedLiteralLengthCodes> lengths{};
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    lengths[i] = static_cast<std::uint8_t>(i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8);
  }
  return lengths;
}

}  // namespace internal

// Indexed by symbol - kFirstLengthSymbol, and by distance symbol.
inline constexpr auto kLengthRanges = internal::MakeLengthRanges();
inline constexpr auto kDistanceRanges = internal::MakeRanges<kDistanceCodes>(1, 2);

inline constexpr auto kFixedLiteralLengths = internal::MakeFixedLengths();
inline constexpr int kFixedDistanceBits = 5;

static_assert(kLengthRanges[27].base == 227 && kLengthRanges[27].extra_bits == 5);
static_assert(kDistanceRanges[29].base == 24577 && kDistanceRanges[29].extra_bits == 13);

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_DEFLATE_FORMAT_H_

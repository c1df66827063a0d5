// A token is one symbol of a block, a literal or a match, packed into a word the way it will be
// sent:
//
//   bits 0 to 8    the row in the block's table of literals and lengths: the literal, or
//                  kFirstLengthRow + length - kMinMatch
//   bits 9 to 13   the distance symbol; kNoDistance for a literal
//   bits 14 to 31  the extra bits of the distance
//
// So a literal is a match with a distance of no bits, and the same code sends both.
#ifndef MOLDEX_CSCOMPR_LZH_TOKEN_H_
#define MOLDEX_CSCOMPR_LZH_TOKEN_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "cscompr/lzh/deflate_format.h"

namespace cscompr {

using LzhToken = std::uint32_t;

inline constexpr unsigned kFirstLengthRow = 256;
inline constexpr unsigned kTokenRows = 512;
inline constexpr unsigned kDistanceRows = 32;
inline constexpr unsigned kNoDistance = 31;

namespace internal {

// The row of a distance in the table of distance symbols. Rows below 256 are for one distance each.
// The rows after them are for 128 distances each, because no symbol begins within these.
constexpr std::uint32_t DistanceRow(std::uint32_t distance) {
  const std::uint32_t above_one = distance - 1;
  return above_one < 256 ? above_one : 256 + (above_one >> 7);
}

constexpr std::array<std::uint8_t, 512> MakeDistanceSymbols() {
  std::array<std::uint8_t, 512> symbols{};
  std::uint8_t symbol = 0;
  for (std::uint32_t distance = 1; distance <= 32768; ++distance) {
    if (symbol + 1U < kDistanceCodes && kDistanceRanges[symbol + 1U].base <= distance) ++symbol;
    symbols[DistanceRow(distance)] = symbol;
  }
  return symbols;
}

inline constexpr auto kDistanceSymbols = MakeDistanceSymbols();

}  // namespace internal

constexpr LzhToken LiteralToken(std::uint8_t literal) { return literal | (kNoDistance << 9); }

constexpr LzhToken MatchToken(std::uint32_t length, std::uint32_t distance) {
  const std::uint32_t symbol = internal::kDistanceSymbols[internal::DistanceRow(distance)];
  return (kFirstLengthRow + length - kMinMatch) | (symbol << 9) |
         ((distance - kDistanceRanges[symbol].base) << 14);
}

constexpr std::uint32_t TokenRow(LzhToken token) { return token & 0x1FF; }
constexpr std::uint32_t TokenDistanceSymbol(LzhToken token) { return (token >> 9) & 0x1F; }
constexpr std::uint32_t TokenDistanceExtra(LzhToken token) { return token >> 14; }
constexpr bool IsLiteralToken(LzhToken token) { return TokenDistanceSymbol(token) == kNoDistance; }

// The tokens of a block, which is full with kCapacity of them. The matcher adds to them until
// `size` reaches `stop`.
struct LzhTokens {
  static constexpr std::size_t kCapacity = 16383;

  std::array<LzhToken, kCapacity> tokens{};
  std::size_t size = 0;
  std::size_t stop = 0;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_TOKEN_H_

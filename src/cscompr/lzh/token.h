// One symbol of a block, a literal or a match, packed into a word the way it will be sent:
//
//   bits 0 to 8    row in the block's table of literals and lengths: the literal, or
//                  kFirstLengthRow + length - kMinMatch
//   bits 9 to 13   distance symbol; kNoDistance for a literal
//   bits 14 to 31  extra bits of the distance
//
// A literal thereby is a match with a distance of no bits, and both are sent by the same code.
#ifndef MOLDEX_CSCOMPR_LZH_TOKEN_H_
#define MOLDEX_CSCOMPR_LZH_TOKEN_H_

#include <array>
#include <cstdint>

#include "cscompr/lzh/deflate_format.h"

namespace cscompr {

using LzhToken = std::uint32_t;

inline constexpr unsigned kFirstLengthRow = 256;
inline constexpr unsigned kTokenRows = 512;
inline constexpr unsigned kDistanceRows = 32;
inline constexpr unsigned kNoDistance = 31;

namespace internal {

// Row of a distance in the table of distance symbols: rows below 256 are for one distance each, the
// others, of distances from 257 on, for 128, as no symbol begins inside those.
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

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_TOKEN_H_

// Huffman codes for the encoder: code lengths from symbol frequencies, limited in length, and the
// canonical codes (RFC 1951, section 3.2.2) that follow from the lengths.
#ifndef MOLDEX_CSCOMPR_HUFFMAN_CODES_H_
#define MOLDEX_CSCOMPR_HUFFMAN_CODES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cscompr/huffman/limits.h"

namespace cscompr {

// Gives every symbol with a frequency above 0 a code length of 1 to `max_bits`, and all others 0.
// The total length is minimal unless `max_bits` is exceeded and lengths have to be redistributed. A
// code of fewer than two symbols is incomplete, which some decoders refuse, so unused symbols are
// then added until there are two. At most kMaxSymbols symbols, frequencies at most 2^23 in sum.
void BuildCodeLengths(std::span<const std::uint32_t> frequencies, int max_bits,
                      std::span<std::uint8_t> lengths);

namespace internal {

// The lowest `bits` bits of `code`, at most 16, in reverse order.
constexpr std::uint32_t Reversed(std::uint32_t code, int bits) {
  code = ((code & 0x5555) << 1) | ((code >> 1) & 0x5555);
  code = ((code & 0x3333) << 2) | ((code >> 2) & 0x3333);
  code = ((code & 0x0F0F) << 4) | ((code >> 4) & 0x0F0F);
  code = ((code & 0x00FF) << 8) | (code >> 8);
  return code >> (16 - bits);
}

}  // namespace internal

// The code of each symbol, with the bit that is sent first in the least significant place. The
// compiler computes fixed codes with it.
constexpr void BuildCodes(std::span<const std::uint8_t> lengths, std::span<std::uint16_t> codes) {
  std::array<std::uint32_t, kMaxCodeBits + 2> next{};
  // Most symbols of a short block are unused. They take none of the space, and counting them would
  // be slow: each count would have to wait for the one before.
  for (const std::uint8_t bits : lengths) {
    if (bits != 0) ++next[bits + std::size_t{1}];
  }
  for (std::size_t bits = 1; bits < next.size(); ++bits)
    next[bits] = (next[bits - 1] << 1) + next[bits] * 2;
  for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
    const int bits = lengths[symbol];
    codes[symbol] = static_cast<std::uint16_t>(
        bits == 0 ? 0 : internal::Reversed(next[static_cast<std::size_t>(bits)]++, bits));
  }
}

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_HUFFMAN_CODES_H_

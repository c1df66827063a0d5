// Huffman codes for the encoder: code lengths from symbol frequencies, limited in length, and the
// canonical codes (RFC 1951, section 3.2.2) that follow from the lengths.
#ifndef MOLDEX_CSCOMPR_HUFFMAN_CODES_H_
#define MOLDEX_CSCOMPR_HUFFMAN_CODES_H_

#include <cstdint>
#include <span>

namespace cscompr {

// Gives every symbol with a frequency above 0 a code length of 1 to `max_bits`, and all others 0.
// The total length is minimal unless `max_bits` is exceeded and lengths have to be redistributed. A
// code of fewer than two symbols is incomplete, which some decoders refuse, so unused symbols are
// then added until there are two. At most kMaxSymbols symbols, frequencies at most 2^23 in sum.
void BuildCodeLengths(std::span<const std::uint32_t> frequencies, int max_bits,
                      std::span<std::uint8_t> lengths);

// The code of each symbol, with the bit that is sent first in the least significant place.
void BuildCodes(std::span<const std::uint8_t> lengths, std::span<std::uint16_t> codes);

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_HUFFMAN_CODES_H_

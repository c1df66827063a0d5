// Huffman codes for the encoder: code lengths from frequencies, limited in length, and the
// canonical codes of RFC 1951 (section 3.2.2) that follow from the lengths.
#ifndef MOLDEX_CSCOMPR_HUFFMAN_CODES_H_
#define MOLDEX_CSCOMPR_HUFFMAN_CODES_H_

#include <cstdint>
#include <span>

namespace cscompr {

// Gives every symbol with a frequency a code length of 1 to `max_bits`, the others 0; the total
// length is the least possible as long as `max_bits` does not bind. Fewer than two used symbols
// make an incomplete code that some decoders refuse, so up to two unused symbols then get a code
// as well. At most kMaxSymbols symbols, frequencies at most 2^23 in sum.
void BuildCodeLengths(std::span<const std::uint32_t> frequencies, int max_bits,
                      std::span<std::uint8_t> lengths);

// The code of each symbol, its first bit in the least significant place, as it is sent.
void BuildCodes(std::span<const std::uint8_t> lengths, std::span<std::uint16_t> codes);

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_HUFFMAN_CODES_H_

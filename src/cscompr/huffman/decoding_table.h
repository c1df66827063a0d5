// Lookup tables that decode canonical Huffman codes (RFC 1951, section 3.2.2).
//
// A table is indexed by the next bits of the stream. The first 2^root entries decode every code of
// up to `root` bits at once. A longer code finds a link there, which leads to a subtable that is
// indexed by the bits after the root. An entry tells everything that the decoder needs to know
// about a symbol, so that no second table has to be asked:
//
//   bits 0-5    the bits to skip: the code, and the extra bits that follow it
//   bit  6      exceptional: a link to a subtable, the end of a block, or a code without a meaning
//   bits 8-11   the bits of the code alone; in a link, the bits that index the subtable
//   bit  14     exceptional: end of block
//   bit  15     exceptional: no meaning
//   bits 16-31  a value; in a link, the index at which the subtable begins
//
// The remaining bits belong to the alphabet (lzh/decoding_tables.h), and so do all bits from 12 on
// in entries that are not exceptional.
#ifndef MOLDEX_CSCOMPR_HUFFMAN_DECODING_TABLE_H_
#define MOLDEX_CSCOMPR_HUFFMAN_DECODING_TABLE_H_

#include <cstddef>
#include <cstdint>

#include "cscompr/huffman/limits.h"

namespace cscompr {

using TableEntry = std::uint32_t;

inline constexpr TableEntry kSkipMask = 0x3F;
inline constexpr TableEntry kExceptional = 1U << 6;
inline constexpr unsigned kCodeBitsShift = 8;
inline constexpr TableEntry kEndOfBlockFlag = 1U << 14;
inline constexpr TableEntry kNoMeaningFlag = 1U << 15;
inline constexpr unsigned kValueShift = 16;

inline constexpr TableEntry kNoMeaning = kExceptional | kNoMeaningFlag;

constexpr unsigned SkipBits(TableEntry entry) { return entry & kSkipMask; }
constexpr unsigned CodeBits(TableEntry entry) { return (entry >> kCodeBitsShift) & 0xF; }
constexpr unsigned Value(TableEntry entry) { return entry >> kValueShift; }
constexpr bool IsExceptional(TableEntry entry) { return (entry & kExceptional) != 0; }
constexpr bool IsLink(TableEntry entry) {
  return (entry & (kExceptional | kEndOfBlockFlag | kNoMeaningFlag)) == kExceptional;
}

// The most entries that a complete code can need. A subtable of 2^k entries has a code that is k
// bits longer than the root, and a complete tree of that depth has at least k + 1 leaves.
// 2^k / (k + 1) grows with k, so the deepest subtables need the most entries per symbol.
constexpr std::size_t MaxTableEntries(int symbols, int root_bits) {
  const int deepest = kMaxCodeBits - root_bits;
  const int subtables = deepest > 0 ? (symbols << deepest) / (deepest + 1) : 0;
  return (std::size_t{1} << root_bits) + static_cast<std::size_t>(subtables);
}

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_HUFFMAN_DECODING_TABLE_H_

// Lookup tables for the canonical prefix codes of RFC 1951, section 3.2.2.
//
// A table is indexed by the next bits of the stream. The first 2^root entries answer every code of
// up to `root` bits at once; a longer code meets a link there and ends in a subtable. An entry says
// all that the decoder needs about its symbol, so that a lookup leaves no other table to ask:
//
//   bits 0-5    bits to skip: the code, and the extra bits behind it
//   bit  6      exceptional: a link to a subtable, the end of block, or a code without a meaning
//   bit  7      a literal and nothing else
//   bits 8-11   bits of the code alone; in a link, the bits that index the subtable
//   bit  14     exceptional: end of block
//   bit  15     exceptional: no meaning
//   bits 16-31  distance: the base value; a link: where the subtable begins
//
// and among literals and lengths
//
//   bits 12-20  length: the base value
//   bit  21     a literal, perhaps before a length
//   bits 24-31  the literal
//
// and among code lengths
//
//   bits 12-15  how often at least the length stands there
//   bits 16-31  the symbol
//
// Where a literal and the length code behind it fit in the root bits together, one entry holds
// both. That spares the decoder most of the branches on what comes next, which are its dearest, for
// nothing predicts them. The code bits of such an entry are those of both codes.
#ifndef MOLDEX_CSCOMPR_HUFFMAN_DECODING_TABLE_H_
#define MOLDEX_CSCOMPR_HUFFMAN_DECODING_TABLE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cscompr/lzh/deflate_format.h"

namespace cscompr {

using TableEntry = std::uint32_t;

inline constexpr TableEntry kSkipMask = 0x3F;
inline constexpr TableEntry kExceptional = 1U << 6;
inline constexpr TableEntry kLiteralFlag = 1U << 7;
inline constexpr unsigned kCodeBitsShift = 8;
inline constexpr TableEntry kEndOfBlockFlag = 1U << 14;
inline constexpr TableEntry kNoMeaningFlag = 1U << 15;
inline constexpr unsigned kValueShift = 16;
inline constexpr unsigned kLengthShift = 12;
inline constexpr unsigned kRunShift = 12;
inline constexpr unsigned kWithLiteralShift = 21;
inline constexpr unsigned kLiteralShift = 24;

constexpr unsigned SkipBits(TableEntry entry) { return entry & kSkipMask; }
constexpr unsigned CodeBits(TableEntry entry) { return (entry >> kCodeBitsShift) & 0xF; }
constexpr unsigned Value(TableEntry entry) { return entry >> kValueShift; }
constexpr unsigned LengthBase(TableEntry entry) { return (entry >> kLengthShift) & 0x1FF; }
constexpr unsigned RunBase(TableEntry entry) { return (entry >> kRunShift) & 0xF; }
constexpr unsigned LiteralCount(TableEntry entry) { return (entry >> kWithLiteralShift) & 1; }
constexpr std::uint8_t Literal(TableEntry entry) {
  return static_cast<std::uint8_t>(entry >> kLiteralShift);
}
constexpr bool HasLiteral(TableEntry entry) {
  return LiteralCount(entry) != 0 && (entry & kExceptional) == 0;
}
constexpr bool IsLiteral(TableEntry entry) { return (entry & kLiteralFlag) != 0; }
constexpr bool IsExceptional(TableEntry entry) { return (entry & kExceptional) != 0; }
constexpr bool IsLink(TableEntry entry) {
  return (entry & (kExceptional | kEndOfBlockFlag | kNoMeaningFlag)) == kExceptional;
}

inline constexpr int kLiteralRootBits = 11;
inline constexpr int kDistanceRootBits = 8;
inline constexpr unsigned kMaxRunBits = 7;  // extra bits of the longest runs of code lengths
inline constexpr int kCodeLengthRootBits = kMaxCodeLengthCodeBits;

// The lowest `number` bits.
constexpr std::uint64_t LowBits(std::uint64_t bits, unsigned number) {
  return bits & ((std::uint64_t{1} << number) - 1);
}

// The most entries a complete code can need. A subtable of 2^k entries has a code that is k bits
// longer than the root, and a complete tree of that depth has at least k + 1 leaves; 2^k / (k + 1)
// grows with k, so the deepest subtables cost most per symbol.
constexpr std::size_t MaxTableEntries(int symbols, int root_bits) {
  const int deepest = kMaxCodeBits - root_bits;
  const int subtables = deepest > 0 ? (symbols << deepest) / (deepest + 1) : 0;
  return (std::size_t{1} << root_bits) + static_cast<std::size_t>(subtables);
}

using LiteralTable =
    std::array<TableEntry, MaxTableEntries(kFixedLiteralLengthCodes, kLiteralRootBits)>;
using DistanceTable = std::array<TableEntry, MaxTableEntries(32, kDistanceRootBits)>;
using CodeLengthTable = std::array<TableEntry, std::size_t{1} << kCodeLengthRootBits>;

// Build the table of a code from the code lengths of its symbols, 0 for an unused symbol, at most
// 15 bits (7 for the code length code). Return 0, kCsOversubscribed or kCsIncomplete; the table is
// then not to be used. Incomplete codes are refused but for a single code of one bit and, for
// distances, none at all: the codes that are left over have no meaning. Distances beyond the 16 KB
// window have no meaning either. Without `join` no literal shares its entry with a length, which
// is sooner done, for blocks that are soon over.
std::int32_t BuildLiteralTable(std::span<const std::uint8_t> lengths, bool join,
                               LiteralTable& table);
std::int32_t BuildDistanceTable(std::span<const std::uint8_t> lengths, DistanceTable& table);
std::int32_t BuildCodeLengthTable(std::span<const std::uint8_t> lengths, CodeLengthTable& table);

// The codes of blocks of type 1.
extern const LiteralTable kFixedLiteralTable;
extern const DistanceTable kFixedDistanceTable;

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_HUFFMAN_DECODING_TABLE_H_

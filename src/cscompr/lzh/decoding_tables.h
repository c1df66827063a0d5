// The three decoding tables of an LZH block: of literals and match lengths, of match distances, and
// of the code lengths that a dynamic block sends in its header (RFC 1951, sections 3.2.5 to 3.2.7).
//
// The entries are those of huffman/decoding_table.h. Each alphabet uses their free bits. In the
// table of distances the value is the base distance. Literals and lengths have
//
//   bit  7      a literal and nothing else
//   bits 12-20  the base length
//   bit  21     a literal, perhaps followed by a length
//   bits 24-31  the literal
//
// and code lengths
//
//   bits 12-15  how often the length is repeated at least
//   bits 16-31  the symbol
//
// Where the codes of a literal and of the length that follows it fit into the root bits together,
// one entry holds both. This spares the decoder most of its branches on the kind of the next
// symbol. They cost it the most, because nothing predicts them. The code bits of such an entry are
// those of both codes.
#ifndef MOLDEX_CSCOMPR_LZH_DECODING_TABLES_H_
#define MOLDEX_CSCOMPR_LZH_DECODING_TABLES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cscompr/huffman/decoding_table.h"
#include "cscompr/lzh/deflate_format.h"

namespace cscompr {

inline constexpr TableEntry kLiteralFlag = 1U << 7;
inline constexpr unsigned kLengthShift = 12;
inline constexpr unsigned kRunShift = 12;
inline constexpr unsigned kWithLiteralShift = 21;
inline constexpr unsigned kLiteralShift = 24;

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

inline constexpr int kLiteralRootBits = 11;
inline constexpr int kDistanceRootBits = 8;
inline constexpr int kCodeLengthRootBits = kMaxCodeLengthCodeBits;
inline constexpr unsigned kMaxRunBits = 7;  // extra bits of the longest runs of code lengths

using LiteralTable =
    std::array<TableEntry, MaxTableEntries(kFixedLiteralLengthCodes, kLiteralRootBits)>;
using DistanceTable = std::array<TableEntry, MaxTableEntries(32, kDistanceRootBits)>;
using CodeLengthTable = std::array<TableEntry, std::size_t{1} << kCodeLengthRootBits>;

// Build a table from the code lengths of the symbols: 0 for an unused symbol, at most 15 bits (7 in
// the code length code). Return 0, kCsOversubscribed or kCsIncomplete; after an error the table
// must not be used.
//
// Incomplete codes are refused with two exceptions: a single code of one bit and, for distances, no
// code at all. The codes that are left over have no meaning, nor have distances beyond the 16 KB
// window. Without `join` no literal shares its entry with a length. Such a table takes less time to
// build, which pays for short blocks.
std::int32_t BuildLiteralTable(std::span<const std::uint8_t> lengths, bool join,
                               LiteralTable& table);
std::int32_t BuildDistanceTable(std::span<const std::uint8_t> lengths, DistanceTable& table);
std::int32_t BuildCodeLengthTable(std::span<const std::uint8_t> lengths, CodeLengthTable& table);

// The codes of blocks of type 1, computed at compile time.
extern const LiteralTable kFixedLiteralTable;
extern const DistanceTable kFixedDistanceTable;

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_DECODING_TABLES_H_

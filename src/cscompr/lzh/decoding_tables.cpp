#include "cscompr/lzh/decoding_tables.h"

#include "cscompr/huffman/table_builder.h"
#include "cscompr/lzh/sliding_window.h"

namespace cscompr {
namespace {

// The entries of an alphabet's symbols before the bits of their codes are added.
template <std::size_t kCount>
using Meanings = std::array<TableEntry, kCount>;

constexpr TableEntry RangeMeaning(const ValueRange& range) {
  return static_cast<TableEntry>(range.base) << kValueShift | range.extra_bits;
}

constexpr Meanings<kFixedLiteralLengthCodes> MakeLiteralMeanings() {
  Meanings<kFixedLiteralLengthCodes> meanings{};
  for (std::size_t symbol = 0; symbol < meanings.size(); ++symbol) {
    if (symbol < kLiteralCount) {
      meanings[symbol] =
          static_cast<TableEntry>(symbol) << kLiteralShift | 1U << kWithLiteralShift | kLiteralFlag;
    } else if (symbol == kEndOfBlock) {
      meanings[symbol] = kExceptional | kEndOfBlockFlag;
    } else if (symbol < kLiteralLengthCodes) {
      const ValueRange& range = kLengthRanges[symbol - kFirstLengthSymbol];
      meanings[symbol] = static_cast<TableEntry>(range.base) << kLengthShift | range.extra_bits;
    } else {
      meanings[symbol] = kNoMeaning;
    }
  }
  return meanings;
}

constexpr Meanings<32> MakeDistanceMeanings() {
  Meanings<32> meanings{};
  for (std::size_t symbol = 0; symbol < meanings.size(); ++symbol) {
    const bool in_window =
        symbol < kDistanceCodes && kDistanceRanges[symbol].base <= SlidingWindow::kBytes;
    meanings[symbol] = in_window ? RangeMeaning(kDistanceRanges[symbol]) : kNoMeaning;
  }
  return meanings;
}

// The shortest runs and the extra bits of the code length symbols 16 to 18.
constexpr std::array<ValueRange, 3> kRuns = {{{3, 2}, {3, 3}, {11, kMaxRunBits}}};

constexpr Meanings<kCodeLengthCodes> MakeCodeLengthMeanings() {
  Meanings<kCodeLengthCodes> meanings{};
  for (std::size_t symbol = 0; symbol < meanings.size(); ++symbol) {
    const ValueRange run =
        symbol < kRepeatPrevious ? ValueRange{1, 0} : kRuns[symbol - kRepeatPrevious];
    meanings[symbol] = static_cast<TableEntry>(symbol) << kValueShift |
                       static_cast<TableEntry>(run.base) << kRunShift | run.extra_bits;
  }
  return meanings;
}

constexpr auto kLiteralMeanings = MakeLiteralMeanings();
constexpr auto kDistanceMeanings = MakeDistanceMeanings();
constexpr auto kCodeLengthMeanings = MakeCodeLengthMeanings();

// A code that is shorter than the root.
struct ShortCode {
  TableEntry meaning = 0;
  std::uint32_t code = 0;
  unsigned bits = 0;
};

// Calls `use` for each code that is shorter than the root, the shortest first.
template <typename Use>
constexpr void ForEachShortCode(const CanonicalOrder& order, Use use) {
  std::size_t at = 0;
  for (unsigned bits = 1; bits < kLiteralRootBits; ++bits) {
    for (const std::size_t end = at + order.counts[bits]; at < end; ++at) {
      use(ShortCode{kLiteralMeanings[order.symbols[at]], order.codes[at], bits});
    }
  }
}

// Joins a literal and the length that follows it wherever both codes fit into the root bits.
constexpr void JoinLiteralsAndLengths(const CanonicalOrder& order, LiteralTable& table) {
  std::array<ShortCode, kLengthCodes> lengths{};
  std::size_t count = 0;
  ForEachShortCode(order, [&](const ShortCode& code) {
    if (!IsLiteral(code.meaning) && !IsExceptional(code.meaning)) lengths[count++] = code;
  });
  ForEachShortCode(order, [&](const ShortCode& literal) {
    if (!IsLiteral(literal.meaning)) return;
    for (std::size_t i = 0; i < count; ++i) {
      const unsigned bits = literal.bits + lengths[i].bits;
      if (bits > kLiteralRootBits) break;
      const TableEntry joined = Entry(lengths[i].meaning, bits) | (literal.meaning & ~kLiteralFlag);
      std::size_t at = literal.code | lengths[i].code << literal.bits;
      for (; at < std::size_t{1} << kLiteralRootBits; at += std::size_t{1} << bits)
        table[at] = joined;
    }
  });
}

constexpr std::int32_t BuildLiterals(std::span<const std::uint8_t> lengths, bool join,
                                     LiteralTable& table) {
  CanonicalOrder order = Sort(lengths);
  const std::int32_t code =
      BuildTable(order, kLiteralMeanings, Incomplete::kOneCode, kLiteralRootBits, table);
  if (code != 0 || !join || order.used == 1) return code;
  JoinLiteralsAndLengths(order, table);
  return code;
}

constexpr LiteralTable MakeFixedLiteralTable() {
  LiteralTable table{};
  BuildLiterals(kFixedLiteralLengths, true, table);
  return table;
}

constexpr DistanceTable MakeFixedDistanceTable() {
  std::array<std::uint8_t, 32> lengths{};
  lengths.fill(kFixedDistanceBits);
  DistanceTable table{};
  CanonicalOrder order = Sort(lengths);
  BuildTable(order, kDistanceMeanings, Incomplete::kRefused, kDistanceRootBits, table);
  return table;
}

}  // namespace

std::int32_t BuildLiteralTable(std::span<const std::uint8_t> lengths, bool join,
                               LiteralTable& table) {
  return BuildLiterals(lengths, join, table);
}

std::int32_t BuildDistanceTable(std::span<const std::uint8_t> lengths, DistanceTable& table) {
  CanonicalOrder order = Sort(lengths);
  return BuildTable(order, kDistanceMeanings, Incomplete::kOneOrNone, kDistanceRootBits, table);
}

std::int32_t BuildCodeLengthTable(std::span<const std::uint8_t> lengths, CodeLengthTable& table) {
  CanonicalOrder order = Sort(lengths);
  return BuildTable(order, kCodeLengthMeanings, Incomplete::kRefused, kCodeLengthRootBits, table);
}

constinit const LiteralTable kFixedLiteralTable = MakeFixedLiteralTable();
constinit const DistanceTable kFixedDistanceTable = MakeFixedDistanceTable();

}  // namespace cscompr

#include "cscompr/huffman/decoding_table.h"

#include <algorithm>
#include <bit>
#include <type_traits>

#include "cscompr/cscompr.h"
#include "cscompr/lzh/sliding_window.h"
#include "cscompr/wide_access.h"

namespace cscompr {
namespace {

constexpr std::size_t kMaxSymbols = kFixedLiteralLengthCodes;
constexpr TableEntry kNoMeaning = kExceptional | kNoMeaningFlag;

// What an entry says about its symbol before the code's own length is added.
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

// Shortest run and extra bits of the code length symbols 16 to 18.
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

// The symbols of a code in canonical order, that is by length and then by value, and how many there
// are of each length.
struct CanonicalOrder {
  std::array<std::uint16_t, kMaxCodeBits + 1> counts{};
  std::array<std::uint16_t, kMaxSymbols> symbols{};
  std::array<std::uint16_t, kMaxSymbols>
      codes{};  // as the stream sends them, once there are tables
  int used = 0;
};

// Most symbols of a small block have no code, and stand in long rows: these are passed eight at a
// time. The rest is handled without a branch on the length.
constexpr std::size_t kRow = 8;

constexpr bool IsUnusedRow(std::span<const std::uint8_t> row) {
  if (std::is_constant_evaluated()) {
    return std::all_of(row.begin(), row.end(), [](std::uint8_t length) { return length == 0; });
  }
  return Load64(row.data()) == 0;
}

// Calls `use` for every symbol that stands in a row with used ones.
template <typename Use>
constexpr void ForEachSymbol(std::span<const std::uint8_t> lengths, Use use) {
  std::size_t symbol = 0;
  while (symbol + kRow <= lengths.size()) {
    if (IsUnusedRow(lengths.subspan(symbol, kRow))) {
      symbol += kRow;
      continue;
    }
    for (std::size_t i = 0; i < kRow; ++i, ++symbol)
      use(symbol);
  }
  for (; symbol < lengths.size(); ++symbol)
    use(symbol);
}

constexpr CanonicalOrder Sort(std::span<const std::uint8_t> lengths) {
  CanonicalOrder order;
  // Neighbours often have the same length; separate counters do not wait for each other.
  std::array<std::array<std::uint16_t, kMaxCodeBits + 1>, 2> counts{};
  ForEachSymbol(lengths, [&](std::size_t symbol) { ++counts[symbol & 1][lengths[symbol]]; });
  // The unused symbols of used rows go behind the used ones.
  std::array<std::uint16_t, kMaxCodeBits + 1> offsets{};
  for (std::size_t length = 1; length <= kMaxCodeBits; ++length) {
    order.counts[length] = static_cast<std::uint16_t>(counts[0][length] + counts[1][length]);
    const std::size_t next = length < kMaxCodeBits ? length + 1 : 0;
    offsets[next] = static_cast<std::uint16_t>(offsets[length] + order.counts[length]);
  }
  order.used = offsets[0];
  ForEachSymbol(lengths, [&](std::size_t symbol) {
    order.symbols[offsets[lengths[symbol]]++] = static_cast<std::uint16_t>(symbol);
  });
  return order;
}

// Codes of 15 bits that are left when every symbol has its own: negative when there are too many.
constexpr int CodesLeft(const CanonicalOrder& order) {
  int left = 1;
  for (std::size_t length = 1; length <= kMaxCodeBits; ++length) {
    left = 2 * left - order.counts[length];
    if (left < 0) return left;
  }
  return left;
}

constexpr TableEntry Entry(TableEntry meaning, unsigned code_bits) {
  return meaning + (code_bits | code_bits << kCodeBitsShift);
}

// The next code of `length` bits, counted from its far end as the stream sends it. Not to be called
// with the last code, which is all ones.
constexpr std::uint32_t NextCode(std::uint32_t code, unsigned length) {
  const std::uint32_t step = std::bit_floor(code ^ ((1U << length) - 1));
  return (code & (step - 1)) | step;
}

// Fills the table of a complete code. Short codes go into a table that doubles with the code length
// until it has reached the root size; longer ones into subtables, one per prefix.
class TableBuilder {
 public:
  constexpr TableBuilder(std::span<const TableEntry> meanings, unsigned root_bits,
                         std::span<TableEntry> table)
      : meanings_(meanings), root_bits_(root_bits), table_(table) {}

  // Notes the codes in `order`, too.
  constexpr void Fill(CanonicalOrder& order) {
    remaining_ = order.counts;
    int left = order.used;
    const std::uint16_t* symbol = order.symbols.data();
    std::uint16_t* noted = order.codes.data();
    std::uint32_t code = 0;
    for (unsigned length = 1; left > 0; ++length) {
      if (length <= root_bits_) Double(length);
      for (; remaining_[length] > 0; --remaining_[length], ++symbol) {
        PutCode(code, length, meanings_[*symbol]);
        *noted++ = static_cast<std::uint16_t>(code);
        if (--left > 0) code = NextCode(code, length);
      }
    }
    for (unsigned length = filled_bits_ + 1; length <= root_bits_; ++length)
      Double(length);
  }

 private:
  constexpr void Double(unsigned length) {
    const std::size_t half = std::size_t{1} << (length - 1);
    std::copy_n(table_.begin(), half, table_.begin() + static_cast<std::ptrdiff_t>(half));
    filled_bits_ = length;
  }

  constexpr void PutCode(std::uint32_t code, unsigned length, TableEntry meaning) {
    if (length <= root_bits_) {
      table_[code] = Entry(meaning, length);
      return;
    }
    const std::uint32_t prefix = code & ((1U << root_bits_) - 1);
    if (prefix != prefix_) OpenSubtable(prefix, length);
    const std::uint32_t step = 1U << (length - root_bits_);
    for (std::uint32_t i = code >> root_bits_; i >> subtable_bits_ == 0; i += step) {
      table_[subtable_ + i] = Entry(meaning, length - root_bits_);
    }
  }

  // The subtable is as deep as the codes with this prefix go: deeper while those of the present
  // depth, all that remain of that length, do not fill it.
  constexpr void OpenSubtable(std::uint32_t prefix, unsigned length) {
    prefix_ = prefix;
    subtable_ = subtable_ == 0 ? 1U << root_bits_ : subtable_ + (1U << subtable_bits_);
    subtable_bits_ = length - root_bits_;
    for (unsigned filled = remaining_[length]; filled < 1U << subtable_bits_;) {
      ++subtable_bits_;
      filled = 2 * filled + remaining_[root_bits_ + subtable_bits_];
    }
    table_[prefix] = static_cast<TableEntry>(subtable_) << kValueShift | kExceptional |
                     subtable_bits_ << kCodeBitsShift | root_bits_;
  }

  std::span<const TableEntry> meanings_;
  unsigned root_bits_;
  std::span<TableEntry> table_;
  std::array<std::uint16_t, kMaxCodeBits + 1> remaining_{};  // symbols of each length to come
  unsigned filled_bits_ = 0;
  std::uint32_t prefix_ = ~0U;
  std::uint32_t subtable_ = 0;
  unsigned subtable_bits_ = 0;
};

enum class Incomplete : std::uint8_t { kRefused, kOneCode, kOneOrNone };

constexpr std::int32_t BuildTable(CanonicalOrder& order, std::span<const TableEntry> meanings,
                                  Incomplete allowed, unsigned root_bits,
                                  std::span<TableEntry> table) {
  const int left = CodesLeft(order);
  if (left < 0) return kCsOversubscribed;
  if (left == 0) {
    TableBuilder(meanings, root_bits, table).Fill(order);
    return 0;
  }
  const bool one_code = order.used == 1 && order.counts[1] == 1;
  const bool tolerated = (one_code && allowed != Incomplete::kRefused) ||
                         (order.used == 0 && allowed == Incomplete::kOneOrNone);
  if (!tolerated) return kCsIncomplete;
  const TableEntry nothing = Entry(kNoMeaning, 1);
  const TableEntry only = one_code ? Entry(meanings[order.symbols[0]], 1) : nothing;
  for (std::size_t i = 0; i < std::size_t{1} << root_bits; ++i) {
    table[i] = (i & 1) == 0 ? only : nothing;
  }
  return 0;
}

// A code that is shorter than the root.
struct ShortCode {
  TableEntry meaning = 0;
  std::uint32_t code = 0;
  unsigned bits = 0;
};

// Calls `use` for the codes that are shorter than the root, the shortest first.
template <typename Use>
constexpr void ForEachShortCode(const CanonicalOrder& order, Use use) {
  std::size_t at = 0;
  for (unsigned bits = 1; bits < kLiteralRootBits; ++bits) {
    for (const std::size_t end = at + order.counts[bits]; at < end; ++at) {
      use(ShortCode{kLiteralMeanings[order.symbols[at]], order.codes[at], bits});
    }
  }
}

// Joins a literal and the length behind it wherever the length's code ends within the root bits.
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

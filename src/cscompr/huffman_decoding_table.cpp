#include "cscompr/huffman_decoding_table.h"

#include <algorithm>
#include <bit>

#include "cscompr/cscompr.h"
#include "cscompr/sliding_window.h"

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

constexpr Meanings<kCodeLengthCodes> MakeCodeLengthMeanings() {
  Meanings<kCodeLengthCodes> meanings{};
  for (std::size_t symbol = 0; symbol < meanings.size(); ++symbol) {
    meanings[symbol] = static_cast<TableEntry>(symbol) << kValueShift;
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
  int used = 0;
};

constexpr CanonicalOrder Sort(std::span<const std::uint8_t> lengths) {
  CanonicalOrder order;
  for (const std::uint8_t length : lengths)
    ++order.counts[length];
  std::array<std::uint16_t, kMaxCodeBits + 1> offsets{};
  for (std::size_t length = 1; length < kMaxCodeBits; ++length) {
    offsets[length + 1] = static_cast<std::uint16_t>(offsets[length] + order.counts[length]);
  }
  order.used = offsets[kMaxCodeBits] + order.counts[kMaxCodeBits];
  for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
    if (lengths[symbol] == 0) continue;
    order.symbols[offsets[lengths[symbol]]++] = static_cast<std::uint16_t>(symbol);
  }
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

  constexpr void Fill(const CanonicalOrder& order) {
    remaining_ = order.counts;
    int left = order.used;
    const std::uint16_t* symbol = order.symbols.data();
    std::uint32_t code = 0;
    for (unsigned length = 1; left > 0; ++length) {
      if (length <= root_bits_) Double(length);
      for (; remaining_[length] > 0; --remaining_[length], ++symbol) {
        PutCode(code, length, meanings_[*symbol]);
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

constexpr std::int32_t BuildTable(const CanonicalOrder& order, std::span<const TableEntry> meanings,
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

// Joins a literal and the length behind it wherever the length's code ends within the root bits.
// From the last entry down: the length is looked up among entries that are not joined yet. The
// conditions are summed up without branches, which nothing could predict.
constexpr void JoinLiteralsAndLengths(LiteralTable& table) {
  for (std::size_t i = std::size_t{1} << kLiteralRootBits; i-- > 0;) {
    const TableEntry literal = table[i];
    const unsigned bits = CodeBits(literal);
    const TableEntry length = table[i >> bits];
    const TableEntry joined =
        Entry(length, bits) | (literal & (0xFFU << kLiteralShift | 1U << kWithLiteralShift));
    const bool fits = bits + CodeBits(length) <= kLiteralRootBits;
    const bool is_pair = IsLiteral(literal) & ((length & (kLiteralFlag | kExceptional)) == 0);
    table[i] = (fits & is_pair) ? joined : literal;
  }
}

// Whether most pairs of a literal and a length would share an entry. Where few do, it is up to
// chance which, and that spoils the patterns by which a processor predicts what comes next.
constexpr bool JoiningPays(std::span<const std::uint8_t> code_lengths) {
  std::array<std::uint64_t, kMaxCodeBits + 1> literals{};
  std::array<std::uint64_t, kMaxCodeBits + 1> lengths{};
  for (std::size_t symbol = 0; symbol < code_lengths.size(); ++symbol) {
    if (symbol != kEndOfBlock)
      ++(symbol < kLiteralCount ? literals : lengths)[code_lengths[symbol]];
  }
  // Shares of all codes, in units of one code of kMaxCodeBits, or of a pair of such codes.
  std::uint64_t all_literals = 0;
  std::uint64_t all_lengths = 0;
  std::uint64_t joined = 0;
  for (std::size_t first = 1; first <= kMaxCodeBits; ++first) {
    all_literals += literals[first] << (kMaxCodeBits - first);
    all_lengths += lengths[first] << (kMaxCodeBits - first);
    for (std::size_t second = 1; first + second <= kLiteralRootBits; ++second) {
      joined += literals[first] * lengths[second] << (2 * kMaxCodeBits - first - second);
    }
  }
  return joined > 0 && 2 * joined >= all_literals * all_lengths;
}

constexpr std::int32_t BuildLiterals(std::span<const std::uint8_t> lengths, LiteralTable& table) {
  const std::int32_t code =
      BuildTable(Sort(lengths), kLiteralMeanings, Incomplete::kOneCode, kLiteralRootBits, table);
  if (code == 0 && JoiningPays(lengths)) JoinLiteralsAndLengths(table);
  return code;
}

constexpr LiteralTable MakeFixedLiteralTable() {
  LiteralTable table{};
  BuildLiterals(kFixedLiteralLengths, table);
  return table;
}

constexpr DistanceTable MakeFixedDistanceTable() {
  std::array<std::uint8_t, 32> lengths{};
  lengths.fill(kFixedDistanceBits);
  DistanceTable table{};
  BuildTable(Sort(lengths), kDistanceMeanings, Incomplete::kRefused, kDistanceRootBits, table);
  return table;
}

}  // namespace

std::int32_t BuildLiteralTable(std::span<const std::uint8_t> lengths, LiteralTable& table) {
  return BuildLiterals(lengths, table);
}

std::int32_t BuildDistanceTable(std::span<const std::uint8_t> lengths, DistanceTable& table) {
  return BuildTable(Sort(lengths), kDistanceMeanings, Incomplete::kOneOrNone, kDistanceRootBits,
                    table);
}

std::int32_t BuildCodeLengthTable(std::span<const std::uint8_t> lengths, CodeLengthTable& table) {
  return BuildTable(Sort(lengths), kCodeLengthMeanings, Incomplete::kRefused, kCodeLengthRootBits,
                    table);
}

constinit const LiteralTable kFixedLiteralTable = MakeFixedLiteralTable();
constinit const DistanceTable kFixedDistanceTable = MakeFixedDistanceTable();

}  // namespace cscompr

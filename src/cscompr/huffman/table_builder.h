// Builds the tables of decoding_table.h from code lengths. Everything here is constexpr, so that
// the tables of fixed codes are computed by the compiler. Only the source that fills tables
// includes this header.
//
// Canonical codes are given by their lengths alone: shorter codes come first, and codes of one
// length are numbered in the order of their symbols. So a table is built in three steps. Sort()
// puts the symbols into that order, CodesLeft() shows whether the lengths make a complete code, and
// TableBuilder goes through the codes in order and fills every entry whose index begins with a
// code.
#ifndef MOLDEX_CSCOMPR_HUFFMAN_TABLE_BUILDER_H_
#define MOLDEX_CSCOMPR_HUFFMAN_TABLE_BUILDER_H_

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "cscompr/cscompr.h"
#include "cscompr/huffman/decoding_table.h"
#include "cscompr/wide_access.h"

namespace cscompr {

// The symbols of a code in canonical order, that is by code length and then by value.
struct CanonicalOrder {
  std::array<std::uint16_t, kMaxCodeBits + 1> counts{};  // symbols of each length
  std::array<std::uint16_t, kMaxSymbols> symbols{};
  std::array<std::uint16_t, kMaxSymbols> codes{};  // set by TableBuilder, as the stream sends them
  int used = 0;                                    // symbols that have a code
};

// Most symbols of a small block have no code, and long rows of them follow one another. Such rows
// are passed over eight symbols at a time. All other symbols are handled without a branch on their
// length.
constexpr std::size_t kRow = 8;

constexpr bool IsUnusedRow(std::span<const std::uint8_t> row) {
  if (std::is_constant_evaluated()) {
    return std::all_of(row.begin(), row.end(), [](std::uint8_t length) { return length == 0; });
  }
  return Load64(row.data()) == 0;
}

// Calls `use` for every symbol of a row that holds used ones.
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
  // Neighbours often have the same length. With two sets of counters they need not wait for each
  // other.
  std::array<std::array<std::uint16_t, kMaxCodeBits + 1>, 2> counts{};
  ForEachSymbol(lengths, [&](std::size_t symbol) { ++counts[symbol & 1][lengths[symbol]]; });
  // The unused symbols among them are put after the used ones.
  std::array<std::uint16_t, kMaxCodeBits + 1> offsets{};
  for (std::size_t length = 1; length <= kMaxCodeBits; ++length) {
    order.counts[length] = static_cast<std::uint16_t>(counts[0][length] + counts[1][length]);
    const std::size_t next = length < kMaxCodeBits ? length + 1 : 0;
    // cppcheck takes the array for one element shorter than it is.
    // cppcheck-suppress containerOutOfBounds
    offsets[next] = static_cast<std::uint16_t>(offsets[length] + order.counts[length]);
  }
  order.used = offsets[0];
  ForEachSymbol(lengths, [&](std::size_t symbol) {
    order.symbols[offsets[lengths[symbol]]++] = static_cast<std::uint16_t>(symbol);
  });
  return order;
}

// How many codes of 15 bits are left over once every symbol has its code: negative when the lengths
// claim more codes than there are.
constexpr int CodesLeft(const CanonicalOrder& order) {
  int left = 1;
  for (std::size_t length = 1; length <= kMaxCodeBits; ++length) {
    left = 2 * left - order.counts[length];
    if (left < 0) return left;
  }
  return left;
}

// The entry of a symbol whose code has `code_bits` bits.
constexpr TableEntry Entry(TableEntry meaning, unsigned code_bits) {
  return meaning + (code_bits | code_bits << kCodeBitsShift);
}

// The code of `length` bits that follows `code`. The stream sends the first bit of a code in the
// least significant place, so this counts up from the most significant bit. Must not be called with
// the last code, which is all ones.
constexpr std::uint32_t NextCode(std::uint32_t code, unsigned length) {
  const std::uint32_t step = std::bit_floor(code ^ ((1U << length) - 1));
  return (code & (step - 1)) | step;
}

// Fills the table of a complete code. The entries of codes of up to n bits repeat every 2^n
// entries, so the root table starts with one bit and is doubled, by copying it, for each further
// bit. Codes longer than the root go into subtables, one for each prefix.
class TableBuilder {
 public:
  constexpr TableBuilder(std::span<const TableEntry> meanings, unsigned root_bits,
                         std::span<TableEntry> table)
      : meanings_(meanings), root_bits_(root_bits), table_(table) {}

  // Records the codes in `order`, too.
  constexpr void Build(CanonicalOrder& order) {
    remaining_ = order.counts;
    int left = order.used;
    const std::uint16_t* symbol = order.symbols.data();
    std::uint16_t* next_code = order.codes.data();
    std::uint32_t code = 0;
    for (unsigned length = 1; left > 0; ++length) {
      if (length <= root_bits_) Double(length);
      for (; remaining_[length] > 0; --remaining_[length], ++symbol) {
        PutCode(code, length, meanings_[*symbol]);
        *next_code++ = static_cast<std::uint16_t>(code);
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

  // A subtable is as deep as the longest code of its prefix. The codes come in order, so it gets
  // one bit deeper as long as all remaining codes of the present length do not fill it.
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

// The incomplete codes that are allowed: none; a single code of one bit; that, or no code at all.
enum class Incomplete : std::uint8_t { kRefused, kOneCode, kOneOrNone };

// Builds the table of the code in `order`. `meanings` are the entries of its symbols without their
// code bits. Returns 0, kCsOversubscribed or kCsIncomplete; after an error the table must not be
// used.
constexpr std::int32_t BuildTable(CanonicalOrder& order, std::span<const TableEntry> meanings,
                                  Incomplete allowed, unsigned root_bits,
                                  std::span<TableEntry> table) {
  const int left = CodesLeft(order);
  if (left < 0) return kCsOversubscribed;
  if (left == 0) {
    TableBuilder(meanings, root_bits, table).Build(order);
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

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_HUFFMAN_TABLE_BUILDER_H_

// The strings that an LZC encoder has given codes to, found either from a prefix's code and one
// more byte, or, the short ones, straight from their bytes.
//
// Following a string byte by byte means one load after another, each of which must wait for the one
// before, and a branch at its end that no processor foresees. The bytes of the longer prefixes are
// known from the start, so the encoder asks for all short prefixes of the input at once and takes
// the longest that is there. Of a string that is longer than seven bytes, the code of the first
// seven stands for these in two bytes; with what follows, it is looked up like a short one, and
// again so whenever seven bytes are full, which is after five more.
//
// The next string begins where this one ends, so it waits for this one's length and for nothing
// else. What tells the length are tags of one byte, in a table of their own: the smaller it is, the
// nearer to the processor. The bytes behind the string are chosen together with its length, so that
// they need not be loaded once it is known. Its code is looked up afterwards, and then its key,
// which tells whether the tag has erred.
//
// Pairs stand in a table of their own, which has a place for each. All other strings share an open
// hash with linear probing.
//
// An object that is all zero bits is a table that waits for its first Clear.
#ifndef MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_
#define MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_

#include <array>
#include <cstdint>

#include "cscompr/lzc/format.h"
#include "cscompr/wide_access.h"

namespace cscompr {

class LzcStringTable {
 public:
  static constexpr std::uint32_t kCodes = 1U << kLzcWriteWidth;

  // Strings of up to so many bytes are found from their bytes; 7 and their form fill a key.
  static constexpr unsigned kShort = 7;

  // A string's form is its length and, where it begins with the code of another one in so many
  // bytes, kLong.
  static constexpr unsigned kLong = 8;
  static constexpr unsigned kCodeBytes = 2;

  // Together with any length: a form that no string has. Its key is like no other.
  static constexpr unsigned kNoForm = 16;

  // Beside a code: its string has already been compared. Where nothing longer is found, there are
  // no bytes behind the code to compare: then both the key at the code and that of the form are 0.
  static constexpr std::uint32_t kShown = kCodes;

  // At most an eighth of the slots are taken, so that few strings stand beside their place. Behind
  // the last one there is room for all strings in a row.
  static constexpr std::uint32_t kSlots = 0x10000 + kCodes;

  // Beside the code in a slot: a string whose place this is stands further on. Only then may one
  // that is not found in its place be in the table.
  static constexpr std::uint16_t kOverflowed = 0x8000;
  static_assert(kOverflowed >= kCodes);

  // Where a string stands, or would stand if it were added.
  struct Place {
    std::uint64_t key;
    std::uint32_t home;  // where it would stand if no other string did
    std::uint32_t slot;
    std::uint8_t tag;    // 0: the string is a pair
    std::uint16_t code;  // 0: not there
  };

  // The longest string of the table that an input begins with.
  struct Walk {
    std::uint32_t code;
    const std::uint8_t* next;
    Place place;  // of the string and the next byte, unless the input has ended
  };

  // A prefix's length and the eight bytes behind it.
  struct Longest {
    unsigned length;
    std::uint64_t behind;
  };

  // The hashes of all prefixes of a word, byte 0 first, in one number: a product's byte depends on
  // the word's bytes below it alone, as the factor's lowest one is 0. The added number keeps zeros
  // from having one hash at every length.
  static std::uint64_t HashesOf(std::uint64_t word) { return word * kSpread + kSalt; }

  // Of the prefix of 3 to 7 bytes.
  static std::uint32_t SlotOf(std::uint64_t hashes, unsigned length) {
    return static_cast<std::uint16_t>(hashes >> (8 * length - 8));
  }

  // Never 0, which stands for an empty slot.
  static std::uint8_t TagOf(std::uint64_t hashes, unsigned length) {
    return static_cast<std::uint8_t>(hashes >> (8 * length - 16) | 1);
  }

  // The bytes of a string of that form, with the form above them.
  static std::uint64_t KeyOf(std::uint64_t word, unsigned form) {
    return (word & kForms.bytes[form]) | kForms.mark[form];
  }

  // Whether that prefix is there, as far as the tag tells.
  [[nodiscard]] bool Has(std::uint64_t hashes, unsigned length) const {
    return tags[SlotOf(hashes, length)] == TagOf(hashes, length);
  }

  // The longest prefix of 2 to 6 bytes that is there, as far as the tags tell; the first two bytes
  // are. Loads what is behind the longest. Without branches: how long a string is, no processor
  // foresees.
  [[nodiscard]] Longest LongestOf(std::uint64_t hashes, const std::uint8_t* input) const {
    Longest longest{2, Load64(input + 2)};
#pragma GCC unroll 8
    for (unsigned length = 3; length < kShort; ++length) {
      Choose(Has(hashes, length), {length, Load64(input + length)}, longest);
    }
    return longest;
  }

  // The code of that prefix, if its tag has not erred; `pair` where that is the first two bytes.
  [[nodiscard]] std::uint32_t CodeOf(std::uint64_t hashes, unsigned length,
                                     std::uint32_t pair) const {
    const std::uint32_t found = CodeIn(SlotOf(hashes, length));
    const std::uint32_t longer = (2 - length) >> 16;  // ones, or zeros where the length is 2
    return (found & longer) | (pair & ~longer);
  }

  [[nodiscard]] std::uint32_t CodeIn(std::uint32_t slot) const {
    return codes[slot] & (kCodes - 1);
  }

  // Leaves the single bytes. Before the first one a table has not even these.
  void Clear();

  // Goes on from `code` as far as there are strings. One that stands beside its place changes
  // places with the one that is there: it may well be asked for again, and is then found at once.
  Walk Follow(std::uint32_t code, const std::uint8_t* next, const std::uint8_t* end);

  void Add(std::uint32_t code, const Place& place);

  // What the encoder's hot loop works on. A pair stands at its two bytes, the first one lowest.
  std::array<std::uint16_t, 0x10000> pairs{};
  std::array<std::uint8_t, kSlots> tags{};
  std::array<std::uint16_t, kSlots> codes{};     // undefined where the tag is 0
  std::array<std::uint64_t, 2 * kCodes> keys{};  // from kShown on, all are 0

 private:
  static constexpr unsigned kFormShift = 8 * kShort;
  static constexpr std::uint64_t kSpread = 0x3779B97F4A7C1500;
  static_assert(kSpread % 0x100 == 0);
  static constexpr std::uint64_t kSalt = 0x5B3A6D91C47E2FA5;

  // What of a word belongs to a string of a form, and what stands above it in the key.
  struct Forms {
    std::array<std::uint64_t, kNoForm + kLong> bytes;
    std::array<std::uint64_t, kNoForm + kLong> mark;
  };
  static constexpr Forms kForms = [] {
    Forms forms{};
    for (unsigned form = 0; form < kNoForm; ++form) {
      if (form == (kLong | kCodeBytes)) continue;  // a code alone
      forms.bytes[form] = (std::uint64_t{1} << 8 * (form % kLong)) - 1;
      forms.mark[form] = std::uint64_t{form} << kFormShift;
    }
    for (unsigned form = kNoForm; form != kNoForm + kLong; ++form)
      forms.mark[form] = ~std::uint64_t{0};
    return forms;
  }();

  // Without a branch. The compiler must not know what there is to choose from, nor what is chosen:
  // left alone, it makes branches of some.
  static void Choose(bool condition, Longest other, Longest& chosen) {
    asm("" : "+r"(other.behind));
    const bool is_other =
        __builtin_expect_with_probability(static_cast<long>(condition), 1, 0.5) != 0;
    chosen.length = is_other ? other.length : chosen.length;
    chosen.behind = is_other ? other.behind : chosen.behind;
    asm("" : "+r"(chosen.length), "+r"(chosen.behind));
  }

  [[nodiscard]] Place Find(std::uint32_t prefix, std::uint32_t byte);
  void Exchange(std::uint32_t one, std::uint32_t other);
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_

// The strings that an LZC encoder has given codes to. A string is found from the code of its prefix
// and one more byte; a short one is also found directly from its bytes.
//
// Following a string byte by byte needs a chain of loads, each of which waits for the one before,
// and ends with a branch that no processor predicts. But the input tells all bytes of the longer
// prefixes from the start. So the encoder looks up all short prefixes at once and takes the longest
// that is in the table. In a string of more than seven bytes, the code of the first seven, which
// takes two bytes, replaces them. Together with the bytes that follow it is looked up like a short
// string. This is repeated whenever seven bytes are full, which is after five more.
//
// The next string begins where this one ends, so it waits for the length of this string and for
// nothing else. Tags of one byte each, in a table of their own that is small enough for the fastest
// cache, give the length. The eight bytes that follow the string are chosen together with its
// length, so that they need not be loaded once it is known. The code is looked up afterwards, and
// then the key, which shows whether the tag was wrong.
//
// Pairs have a table of their own with a place for each. All other strings share an open hash table
// with linear probing.
//
// An object of zero bytes is a table that waits for its first Clear.
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

  // Strings of up to this many bytes are found from their bytes. Seven bytes and a form fill a key.
  static constexpr unsigned kShort = 7;

  // The form of a string: its length, plus kLong if it begins with the code of another string,
  // which takes kCodeBytes.
  static constexpr unsigned kLong = 8;
  static constexpr unsigned kCodeBytes = 2;

  // With any length added: a form that no string has, and whose key differs from all others.
  static constexpr unsigned kNoForm = 16;

  // A flag beside a code: its string was compared already. If nothing longer is found, no bytes
  // after the code are left to compare: then the key at the code and the key of the form are both
  // 0.
  static constexpr std::uint32_t kShown = kCodes;

  // At most an eighth of the slots are used, so that few strings are displaced. The extra slots at
  // the end have space for all strings in a row.
  static constexpr std::uint32_t kSlots = 0x10000 + kCodes;

  // A flag beside the code in a slot: a string whose home this is was displaced to a later slot.
  // Without the flag, a string that is not found in its home slot is not in the table.
  static constexpr std::uint16_t kOverflowed = 0x8000;
  static_assert(kOverflowed >= kCodes);

  // The slot of a string, or the slot that it would get if it were added.
  struct Place {
    std::uint64_t key;
    std::uint32_t home;  // its slot if no other string had taken it
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

  // A prefix's length and the eight bytes that follow it.
  struct Longest {
    unsigned length;
    std::uint64_t following;
  };

  // The hashes of all prefixes of a word in one number. The lowest byte of the factor is 0, so a
  // byte of the product depends only on the bytes of the word below it. The added number makes runs
  // of zeros hash differently at each length.
  static std::uint64_t HashesOf(std::uint64_t word) { return word * kSpread + kSalt; }

  // The slot of the prefix of 3 to 7 bytes.
  static std::uint32_t SlotOf(std::uint64_t hashes, unsigned length) {
    return static_cast<std::uint16_t>(hashes >> (8 * length - 8));
  }

  // Never 0, which marks an empty slot.
  static std::uint8_t TagOf(std::uint64_t hashes, unsigned length) {
    return static_cast<std::uint8_t>(hashes >> (8 * length - 16) | 1);
  }

  // The key of the string of this form that the word begins with: its bytes, and the form above
  // them.
  static std::uint64_t KeyOf(std::uint64_t word, unsigned form) {
    return (word & kForms.bytes[form]) | kForms.mark[form];
  }

  // Whether the prefix is in the table, as far as the tag tells.
  [[nodiscard]] bool Has(std::uint64_t hashes, unsigned length) const {
    return tags[SlotOf(hashes, length)] == TagOf(hashes, length);
  }

  // The longest prefix of 2 to 6 bytes in the table, as far as the tags tell, and the bytes that
  // follow it. The first two bytes must be in the table. Uses no branches, because no processor
  // predicts how long a string is.
  [[nodiscard]] Longest LongestOf(std::uint64_t hashes, const std::uint8_t* input) const {
    Longest longest{2, Load64(input + 2)};
#pragma GCC unroll 8
    for (unsigned length = 3; length < kShort; ++length) {
      Choose(Has(hashes, length), {length, Load64(input + length)}, longest);
    }
    return longest;
  }

  // The code of the prefix, unless its tag was wrong; `pair` if the prefix is the first two bytes.
  [[nodiscard]] std::uint32_t CodeOf(std::uint64_t hashes, unsigned length,
                                     std::uint32_t pair) const {
    const std::uint32_t found = CodeIn(SlotOf(hashes, length));
    const std::uint32_t longer = (2 - length) >> 16;  // ones, or zeros where the length is 2
    return (found & longer) | (pair & ~longer);
  }

  [[nodiscard]] std::uint32_t CodeIn(std::uint32_t slot) const {
    return codes[slot] & (kCodes - 1);
  }

  // Leaves only the single bytes. A new table does not have even these until it is cleared.
  void Clear();

  // Follows the input from `code` as long as the table has a string. A displaced string that is met
  // changes slots with the one in its home: it is likely to be looked up again, and is then found
  // at once.
  Walk Follow(std::uint32_t code, const std::uint8_t* next, const std::uint8_t* end);

  void Add(std::uint32_t code, const Place& place);

  // The encoder's hot loop works on these. A pair's index is its two bytes, the first one lowest.
  std::array<std::uint16_t, 0x10000> pairs{};
  std::array<std::uint8_t, kSlots> tags{};
  std::array<std::uint16_t, kSlots> codes{};     // undefined where the tag is 0
  std::array<std::uint64_t, 2 * kCodes> keys{};  // from kShown on, all are 0

 private:
  static constexpr unsigned kFormShift = 8 * kShort;
  static constexpr std::uint64_t kSpread = 0x3779B97F4A7C1500;
  static_assert(kSpread % 0x100 == 0);
  static constexpr std::uint64_t kSalt = 0x5B3A6D91C47E2FA5;

  // For each form, the bytes of a word that belong to the string, and the key's bits above them.
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

  // Chooses without a branch. The empty asm statements hide the choices and the result from the
  // compiler, which would turn some of these into branches.
  static void Choose(bool condition, Longest other, Longest& chosen) {
    asm("" : "+r"(other.following));
    const bool is_other =
        __builtin_expect_with_probability(static_cast<long>(condition), 1, 0.5) != 0;
    chosen.length = is_other ? other.length : chosen.length;
    chosen.following = is_other ? other.following : chosen.following;
    asm("" : "+r"(chosen.length), "+r"(chosen.following));
  }

  [[nodiscard]] Place Find(std::uint32_t prefix, std::uint32_t byte);
  void Exchange(std::uint32_t one, std::uint32_t other);
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_

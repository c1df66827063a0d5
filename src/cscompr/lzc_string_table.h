// The strings that an LZC encoder has given codes to, found either from a prefix's code and one
// more byte, or, the short ones, straight from their bytes.
//
// Following a string byte by byte means one load after another, each of which must wait for the one
// before, and a branch at its end that no processor foresees. The bytes of the longer prefixes are
// known from the start, so the encoder asks for all short prefixes of the input at once and takes
// the longest that is there. A string that is too long for that is, from each seventh byte on, its
// prefix's code in two bytes and what follows, and is looked up like a short one.
//
// Nothing but this string's length keeps the next one waiting. So the slots that are asked for
// lengths hold a tag of one byte: the smaller they are, the nearer to the processor. The code is
// looked up behind them, and behind that the key, which tells whether the tag has erred.
//
// Pairs stand in a table of their own, which has a place for each. All other strings share an open
// hash with linear probing.
//
// An object that is all zero bits is a table that waits for its first Clear.
#ifndef MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_
#define MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_

#include <array>
#include <cstdint>

#include "cscompr/lzc_format.h"

namespace cscompr {

class LzcStringTable {
 public:
  static constexpr std::uint32_t kCodes = 1U << kLzcWriteWidth;

  // Strings of up to so many bytes are found from their bytes; 7 and their length fill a key.
  static constexpr unsigned kShort = 7;

  // Beside the length in a key: the string begins with the code of another one, in so many bytes.
  static constexpr unsigned kLong = 0x80;
  static constexpr unsigned kCodeBytes = 2;

  // At most an eighth of the slots are taken, so that few strings stand beside their place. Behind
  // the last one there is room for all strings in a row.
  static constexpr std::uint32_t kSlots = 0x10000 + kCodes;

  // Beside the code of a string that another one had to pass by: only then may one that is not
  // found there be elsewhere.
  static constexpr std::uint16_t kPassedBy = 0x8000;

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

  // The hashes of all prefixes of a word, byte 0 first, in one number: a product's byte depends on
  // the bytes below it alone. The added number keeps zeros from having one hash at every length.
  static std::uint64_t HashesOf(std::uint64_t word) { return word * kSpread + kSalt; }

  // Of the prefix of 3 to 7 bytes.
  static std::uint32_t SlotOf(std::uint64_t hashes, unsigned length) {
    return static_cast<std::uint16_t>(hashes >> (8 * length - 8));
  }

  // Never 0, which stands for an empty slot.
  static std::uint8_t TagOf(std::uint64_t hashes, unsigned length) {
    return static_cast<std::uint8_t>(hashes >> (8 * length - 16) | 1);
  }

  // The first bytes of a word, with their number and kLong or 0 above them.
  static std::uint64_t KeyOf(std::uint64_t word, unsigned length, unsigned mark) {
    return (word & kFirstBytes[length]) | std::uint64_t{length | mark} << 56;
  }

  // Whether that prefix is there, as far as the tag tells.
  [[nodiscard]] bool Has(std::uint64_t hashes, unsigned length) const {
    return tags[SlotOf(hashes, length)] == TagOf(hashes, length);
  }

  // The length of the longest prefix of 2 to 6 bytes that is there, as far as the tags tell; the
  // first two bytes are. Without branches: how long a string is, no processor foresees.
  [[nodiscard]] unsigned LongestOf(std::uint64_t hashes) const {
    unsigned length = 2;
#pragma GCC unroll 8
    for (unsigned longer = 3; longer < kShort; ++longer) {
      length = Choose(Has(hashes, longer), longer, length);
    }
    return length;
  }

  // The code of that prefix, if its tag has not erred. `code` is that of the first two bytes.
  [[nodiscard]] std::uint32_t CodeOf(std::uint64_t hashes, unsigned length,
                                     std::uint32_t code) const {
    const std::uint32_t found = CodeIn(SlotOf(hashes, length));
    const std::uint32_t longer = (2 - length) >> 16;  // ones, or zeros where the length is 2
    return (found & longer) | (code & ~longer);
  }

  [[nodiscard]] std::uint32_t CodeIn(std::uint32_t slot) const {
    return codes[slot] & (kCodes - 1);
  }

  // Leaves the single bytes. Before the first one a table has not even these.
  void Clear();

  // Goes on from `code` as far as there are strings.
  [[nodiscard]] Walk Follow(std::uint32_t code, const std::uint8_t* next,
                            const std::uint8_t* end) const;

  void Add(std::uint32_t code, const Place& place);

  // What the encoder's hot loop works on. A pair stands at its two bytes, the first one lowest.
  std::array<std::uint16_t, 0x10000> pairs{};
  std::array<std::uint8_t, kSlots> tags{};
  std::array<std::uint16_t, kSlots> codes{};  // whatever, where the tag is 0
  std::array<std::uint64_t, kCodes> keys{};

 private:
  static constexpr std::uint64_t kSpread = 0x3779B97F4A7C1500;
  static constexpr std::uint64_t kSalt = 0x5B3A6D91C47E2FA5;
  static constexpr std::array<std::uint64_t, 8> kFirstBytes = {
      0, 0xFF, 0xFFFF, 0xFFFFFF, 0xFFFFFFFF, 0xFFFFFFFFFF, 0xFFFFFFFFFFFF, 0xFFFFFFFFFFFFFF};

  // Without a branch. The compiler must not know the result: left alone, it makes branches of some.
  static unsigned Choose(bool condition, unsigned yes, unsigned no) {
    unsigned chosen =
        __builtin_expect_with_probability(static_cast<long>(condition), 1, 0.5) != 0 ? yes : no;
    asm("" : "+r"(chosen));
    return chosen;
  }

  [[nodiscard]] Place Find(std::uint32_t prefix, std::uint32_t byte) const;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_

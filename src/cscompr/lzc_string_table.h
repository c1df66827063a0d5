// The strings that an LZC encoder has given codes to, found either from a prefix's code and one
// more byte, or, the short ones, straight from their bytes.
//
// Following a string byte by byte means one load after another, each of which must wait for the one
// before, and a branch at its end that no processor foresees. The bytes of the longer prefixes are
// known from the start, so the encoder asks for all short prefixes of the input at once and takes
// the longest that is there. A string that is too long for that is, from each seventh byte on, its
// prefix's code in two bytes and what follows, and is looked up like a short one.
//
// An object that is all zero bits is a table that waits for its first Clear.
//
// Pairs stand in a table of their own, which has a place for each. All other strings share an open
// hash with linear probing.
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

  // At most an eighth of the slots are taken, so that few strings stand beside their place.
  static constexpr std::uint32_t kSlots = 0x10000;

  // In a slot that a short string had to leave to another one: only then may one that is not found
  // there be elsewhere.
  static constexpr std::uint32_t kPassedBy = 0x80000000;

  static std::uint32_t CodeOf(std::uint32_t slot) { return slot >> 16 & (kCodes - 1); }

  // Where a string stands, or would stand if it were added.
  struct Place {
    std::uint64_t key;
    std::uint32_t home;  // where it would stand if no other string did
    std::uint32_t slot;
    std::uint16_t tag;
    std::uint16_t code;  // 0: not there
  };

  // The longest string of the table that an input begins with.
  struct Walk {
    std::uint32_t code;
    const std::uint8_t* next;
    Place place;  // of the string and the next byte, unless the input has ended
  };

  // The longest string among the prefixes of a word, as far as the tags tell.
  struct Hit {
    std::uint32_t code;
    unsigned length;
  };

  // The hashes of all prefixes of a word, byte 0 first, in one number: a product's byte depends on
  // the bytes up to it alone. The added number keeps zeros from being their own hash, and words
  // that begin with a code from sharing the hashes of those that do not.
  static std::uint64_t HashesOf(std::uint64_t word, std::uint64_t salt = kSalt) {
    return word * kSpread + salt;
  }

  // Of the prefix of 3 to 7 bytes: the upper half is its slot, the lower half its tag.
  static std::uint32_t HashOf(std::uint64_t hashes, unsigned length) {
    return static_cast<std::uint32_t>(hashes >> (8 * length - 24));
  }

  static std::uint64_t ShortKey(std::uint64_t word, unsigned length) {
    return word << (64 - 8 * length) | length;
  }

  // `code` is that of the first two bytes. Without branches: how long the string is, no processor
  // foresees. Left alone, a compiler would make one for three bytes; it must not know the first
  // hit.
  [[nodiscard]] Hit Longest(std::uint64_t hashes, std::uint32_t code) const {
    std::uint32_t entry = code << 16;
    unsigned length = 2;
    asm("" : "+r"(entry), "+r"(length));
#pragma GCC unroll 8
    for (unsigned longer = 3; longer <= kShort; ++longer) {
      const std::uint32_t hash = HashOf(hashes, longer);
      const std::uint32_t slot = slots[hash >> 16];
      const auto hit =
          static_cast<long>(static_cast<std::uint16_t>(slot) == static_cast<std::uint16_t>(hash));
      entry = __builtin_expect_with_probability(hit, 1, 0.5) != 0 ? slot : entry;
      length = __builtin_expect_with_probability(hit, 1, 0.5) != 0 ? longer : length;
    }
    return {CodeOf(entry), length};
  }

  // Leaves the single bytes. Before the first one a table has not even these.
  void Clear();

  // Goes on from `code` as far as there are strings.
  [[nodiscard]] Walk Follow(std::uint32_t code, const std::uint8_t* next,
                            const std::uint8_t* end) const;

  void Add(std::uint32_t code, const Place& place);

  // What the encoder's hot loop works on. A pair stands at its two bytes, the first one lowest.
  std::array<std::uint16_t, 0x10000> pairs{};
  // A slot holds a code in its upper half and a tag in its lower one, by which a search for short
  // strings tells with hardly an error whether the string is the one it means, before it has loaded
  // the key.
  std::array<std::uint32_t, kSlots> slots{};
  std::array<std::uint64_t, kCodes> keys{};

 private:
  static constexpr std::uint64_t kSpread = 0x3779B97F4A7C1500;
  static constexpr std::uint64_t kSalt = 0x5B3A6D91C47E2FA5;
  static constexpr std::uint64_t kLongSalt = 0xA7C4926E3BD180D3;
  static constexpr unsigned kLengthMask = 7;
  static constexpr unsigned kLong = 0x80;  // in a key beside the length: it begins with a code

  enum class Leap : std::uint8_t { kEnded, kGoesOn, kFailed };

  [[nodiscard]] Place Find(std::uint32_t prefix, std::uint32_t byte) const;
  [[nodiscard]] Leap FollowAtOnce(Walk& walk) const;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_STRING_TABLE_H_

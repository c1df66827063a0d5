// Copies the matches of the LZH decoder's fast loop, in words: more than was asked for, within a
// margin.
#ifndef MOLDEX_CSCOMPR_LZH_DECODER_COPY_H_
#define MOLDEX_CSCOMPR_LZH_DECODER_COPY_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cscompr/bit_reader.h"
#include "cscompr/wide_access.h"

namespace cscompr {

inline constexpr std::size_t kWord = 8;        // bytes that a match copy moves at once
inline constexpr std::size_t kLeastWords = 4;  // that it moves whatever the length
// A copy overwrites and reads that much, or less than two words more than it fills.
inline constexpr std::ptrdiff_t kCopyMargin = kLeastWords * kWord;

inline void MoveWord(std::uint8_t* to, const std::uint8_t* from) {
  std::array<std::uint8_t, kWord> word;
  std::memcpy(word.data(), from, kWord);
  std::memcpy(to, word.data(), kWord);
}

// Source and target lie at least a word apart. Four words hold most matches, so that a branch on
// the length is seldom mispredicted.
inline void CopyFar(std::uint8_t* to, const std::uint8_t* from, std::size_t length) {
  MoveWord(to, from);
  MoveWord(to + kWord, from + kWord);
  MoveWord(to + 2 * kWord, from + 2 * kWord);
  MoveWord(to + 3 * kWord, from + 3 * kWord);
  for (std::size_t done = kLeastWords * kWord; done < length; done += 2 * kWord) {
    MoveWord(to + done, from + done);
    MoveWord(to + done + kWord, from + done + kWord);
  }
}

// The most bytes up to 8 that whole patterns of a length make, by that length.
inline constexpr std::array<std::uint8_t, kWord> kPatternSteps = {0, 8, 8, 6, 8, 5, 6, 7};

// A match that overlaps itself within a word. Its pattern is laid out in a word once, and stored at
// steps of as many whole patterns as the word holds: loading what the store before left behind
// would wait for it every time.
inline void CopyNear(std::uint8_t* to, const std::uint8_t* from, std::size_t distance,
                     std::size_t length) {
  const std::uint8_t* const end = to + length;
  const auto pattern_bits = static_cast<unsigned>(8 * distance);
  std::uint64_t word = LowBits(Load64(from), pattern_bits);
  if (distance == 1) {
    word *= 0x0101010101010101U;
  } else {
    word |= word << pattern_bits;
    if (distance < 4) word |= word << 2 * pattern_bits;
  }
  for (; to < end; to += kPatternSteps[distance])
    Store64(to, word);
}

// Copies a match; needs kCopyMargin bytes behind its end.
inline void CopyWords(std::uint8_t* to, const std::uint8_t* from, std::size_t distance,
                      std::size_t length) {
  if (distance >= kWord) [[likely]] {
    CopyFar(to, from, length);
  } else {
    CopyNear(to, from, distance, length);
  }
}

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_DECODER_COPY_H_

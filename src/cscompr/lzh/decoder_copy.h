// Copies the matches of the LZH decoder's central loop in words of 8 bytes. May write more than the
// match, within a margin.
#ifndef MOLDEX_CSCOMPR_LZH_DECODER_COPY_H_
#define MOLDEX_CSCOMPR_LZH_DECODER_COPY_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cscompr/bit_reader.h"
#include "cscompr/wide_access.h"

namespace cscompr {

inline constexpr std::size_t kWord = 8;        // bytes that are moved at once
inline constexpr std::size_t kLeastWords = 4;  // words that are moved whatever the length
// A copy writes and reads this much, or less than two words more than the match.
inline constexpr std::ptrdiff_t kCopyMargin = kLeastWords * kWord;

inline void MoveWord(std::uint8_t* to, const std::uint8_t* from) {
  std::array<std::uint8_t, kWord> word;
  std::memcpy(word.data(), from, kWord);
  std::memcpy(to, word.data(), kWord);
}

// For a source and a target at least a word apart. Four words hold most matches, so the branch on
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

// Indexed by the length of a pattern: the most bytes, up to 8, that are a multiple of it.
inline constexpr std::array<std::uint8_t, kWord> kPatternSteps = {0, 8, 8, 6, 8, 5, 6, 7};

// For a match that overlaps itself within a word. Repeats the pattern in a word once, and stores
// this word at steps of as many whole patterns as it holds. Loading bytes that were just stored
// would wait for the store every time.
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

// Copies a match. Needs kCopyMargin bytes after its end.
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

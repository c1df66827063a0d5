// Searches the window for the longest match, by a plain walk along a hash chain: the positions
// whose three bytes have the same hash, nearest first. The result is the longest match among the
// first `chain` candidates, and the nearest of several that are equally long. Only the central
// loops include this header; the search is inlined into them.
#ifndef MOLDEX_CSCOMPR_LZH_CHAIN_SEARCH_H_
#define MOLDEX_CSCOMPR_LZH_CHAIN_SEARCH_H_

#include <algorithm>
#include <bit>
#include <cstdint>

#include "cscompr/lzh/deflate_format.h"
#include "cscompr/wide_access.h"

namespace cscompr {

// Beyond this distance a match of the shortest length costs more than three literals.
inline constexpr std::uint32_t kTooFarForShortest = 4096;

inline constexpr int kHashBits = 14;

// The hash of three bytes. The candidates of a search depend on it, and so do the bytes of a
// stream.
constexpr std::uint16_t Hash(std::uint8_t first, std::uint8_t second, std::uint8_t third) {
  return static_cast<std::uint16_t>(((first << 10) ^ (second << 5) ^ third) &
                                    ((1 << kHashBits) - 1));
}

struct ChainQuery {
  std::uint32_t position;
  std::uint32_t head;        // the first candidate: not before `limit`, not 0
  std::uint32_t beat;        // only longer matches count
  std::uint32_t max_length;  // more than `beat`
  std::uint32_t limit;       // all candidates but the first are above it
  std::uint32_t chain;       // number of candidates to compare
};

// The position is 0 when nothing was found.
struct FoundMatch {
  std::uint32_t length = 0;
  std::uint32_t position = 0;
};

// The number of bytes in which `a` and `b` agree; `difference` is the XOR of their first 8 bytes.
inline std::uint32_t MatchLength(const std::uint8_t* a, const std::uint8_t* b,
                                 std::uint64_t difference, std::uint32_t max_length) {
  std::uint32_t length = 0;
  while (difference == 0) {
    length += 8;
    if (length >= max_length) return max_length;
    difference = Load64(a + length) ^ Load64(b + length);
  }
  return std::min(length + static_cast<std::uint32_t>(std::countr_zero(difference)) / 8,
                  max_length);
}

// The links are indexed by position.
class ShortSearch {
 public:
  ShortSearch(const std::uint8_t* window, const std::uint16_t* links)
      : window_(window), links_(links) {}

  // Whether Find could find anything: exact for the first two candidates, true if there are more.
  // Without branches, because bytes that do not repeat make every branch on a candidate
  // unpredictable, but not the one on this answer. Link 0 leads nowhere.
  [[gnu::always_inline]] bool MayMatch(std::uint32_t position, std::uint32_t farthest) const {
    const std::uint32_t first = links_[position];
    const std::uint32_t second = links_[first];
    const std::uint32_t third = links_[second];
    const std::uint32_t bytes = Load32(window_ + position);
    const bool first_matches = ((Load32(window_ + first) ^ bytes) & 0xFFFFFF) == 0;
    const bool second_matches = ((Load32(window_ + second) ^ bytes) & 0xFFFFFF) == 0;
    const bool has_first = first >= std::max(farthest, 1U);
    const bool has_second = second > farthest;
    const bool has_third = third > farthest;
    return (has_first & (first_matches | (has_second & (second_matches | has_third)))) != 0;
  }

  // The longest match of three bytes or more. Ignores `query.beat`.
  [[gnu::always_inline]] FoundMatch Find(ChainQuery query) const {
    const std::uint8_t* const here = window_ + query.position;
    const std::uint64_t first = Load64(here);
    std::uint64_t difference = first ^ Load64(window_ + query.head);
    while ((difference & 0xFFFFFF) != 0) {
      query.head = links_[query.head];
      if (query.head <= query.limit || --query.chain == 0) return {};
      difference = first ^ Load64(window_ + query.head);
    }
    const FoundMatch nearest = {
        MatchLength(here, window_ + query.head, difference, query.max_length), query.head};
    query.head = links_[query.head];
    if (nearest.length >= query.max_length || query.head <= query.limit || --query.chain == 0) {
      return nearest;
    }
    return FindLonger(query, nearest);
  }

  // The longest match that is longer than `best`, else `best`, whose length is at least 3.
  // Comparing the four bytes that a longer match must end in rules out nearly every candidate.
  [[gnu::always_inline]] FoundMatch FindLonger(ChainQuery query, FoundMatch best) const {
    const std::uint8_t* const here = window_ + query.position;
    const std::uint64_t first = Load64(here);
    const std::uint8_t* endings = window_ + best.length - 3;
    std::uint32_t ending = Load32(endings + query.position);
    do {
      if (Load32(endings + query.head) == ending) [[unlikely]] {
        const std::uint8_t* const there = window_ + query.head;
        const std::uint32_t length =
            MatchLength(here, there, first ^ Load64(there), query.max_length);
        if (length > best.length) {
          best = {length, query.head};
          if (length >= query.max_length) break;
          endings = window_ + length - 3;
          ending = Load32(endings + query.position);
        }
      }
      query.head = links_[query.head];
    } while (query.head > query.limit && --query.chain != 0);
    return best;
  }

 private:
  const std::uint8_t* const window_;
  const std::uint16_t* const links_;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_CHAIN_SEARCH_H_

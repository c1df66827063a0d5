// Searching the window for the longest match, nearest first: the two ways of doing it, one for each
// of the encoder's central loops. Both give the same answer, that of a plain walk along the
// chain of positions whose three bytes share a hash: of the first `chain` candidates the nearest
// one of the greatest length. Included by the central loops alone, which they are inlined into.
//
// ShortSearch is that walk. DeepSearch leaves out nearly all candidates of a long chain that
// cannot win: a match longer than three bytes also shares its first four, and one longer than
// `best` the last four it would have to have, so one of two sparser chains will do. How many
// candidates the plain walk would have met before one of these follows from ranks: a position's
// rank is one more than that of its predecessor in the plain chain, so the difference of two ranks
// is the number of steps between them.
#ifndef MOLDEX_CSCOMPR_LZH_CHAIN_SEARCH_H_
#define MOLDEX_CSCOMPR_LZH_CHAIN_SEARCH_H_

#include <algorithm>
#include <bit>
#include <cstdint>

#include "cscompr/deflate_format.h"
#include "cscompr/wide_access.h"

namespace cscompr {

// A match of the shortest length so far back costs more than three literals.
inline constexpr std::uint32_t kTooFarForShortest = 4096;

inline constexpr int kHashBits = 14;

// Of three bytes. Part of the format, as the candidates of a search depend on it.
constexpr std::uint16_t Hash(std::uint8_t first, std::uint8_t second, std::uint8_t third) {
  return static_cast<std::uint16_t>(((first << 10) ^ (second << 5) ^ third) &
                                    ((1 << kHashBits) - 1));
}

// Of the first three of four bytes, in the order of a little-endian word.
constexpr std::uint32_t Hash(std::uint32_t bytes) {
  return ((bytes << 10) ^ (bytes >> 3 & 0x1FE0) ^ (bytes >> 16 & 0xFF)) & ((1U << kHashBits) - 1);
}

// Of all four.
constexpr std::uint32_t LongHash(std::uint32_t bytes) {
  return (bytes * 0x9E3779B1U) >> (32 - kHashBits);
}

// The tables of a deep search; links and ranks are indexed by position modulo 16,384.
struct ChainTables {
  static constexpr std::uint32_t kMask = 16383;

  const std::uint8_t* window;
  const std::uint16_t* links;
  const std::uint16_t* long_heads;
  const std::uint16_t* long_links;
  const std::uint16_t* ranks;
};

struct ChainQuery {
  std::uint32_t position;
  std::uint32_t head;        // the first candidate; not before `limit`, not 0
  std::uint32_t beat;        // only longer matches count
  std::uint32_t max_length;  // more than `beat`
  std::uint32_t limit;       // candidates but the first lie above it
  std::uint32_t chain;       // candidates to look at
};

// Position 0 when nothing was found.
struct FoundMatch {
  std::uint32_t length = 0;
  std::uint32_t position = 0;
};

// How far `a` and `b` agree when the first 8 bytes differ by `difference`.
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

  // The longest match of three bytes or more; `query.beat` is not looked at.
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
  // The four bytes that a longer match must end in settle nearly every candidate.
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

class DeepSearch {
 public:
  DeepSearch(const ChainTables& tables, const ChainQuery& query)
      : tables_(tables),
        query_(query),
        here_(tables.window + query.position),
        first_(Load64(here_)),
        head_rank_(tables.ranks[query.head & ChainTables::kMask]),
        best_{std::max<std::uint32_t>(query.beat, kMinMatch), 0} {}

  FoundMatch Run() {
    if (query_.max_length > kMinMatch) {
      ending_ = Load32(here_ + best_.length - 3);
      WalkSparserChain();
      if (best_.position != 0) return best_;
    }
    if (query_.beat >= kMinMatch) return {};
    return FindThreeBytes();
  }

 private:
  static constexpr std::uint32_t kNoBudget = 1U << 16;  // more than the window has positions

  // The chain whose last entry is older is taken for the sparser one. When it is that of the
  // ending, it nearly always is; otherwise both get a short trial first. A walk that runs out of
  // its budget may be followed by any other, as candidates seen already cannot win again, but the
  // last one has to come to its end, and only the chain of the beginning is sure to hold no more
  // than the candidates in question.
  void WalkSparserChain() {
    const std::uint32_t by_beginning = tables_.long_links[query_.position & ChainTables::kMask];
    bool is_done = false;
    if (best_.length > kMinMatch) {
      const std::uint32_t by_ending = tables_.long_heads[LongHash(ending_)];
      const std::uint32_t trial = query_.chain / 16;
      is_done = by_ending < by_beginning ? WalkByEnding(query_.chain)
                                         : WalkByBeginning(trial) || WalkByEnding(trial);
    }
    if (!is_done) WalkByBeginning(kNoBudget);
  }

  // Whether the search ends with this candidate.
  [[gnu::always_inline]] bool Consider(std::uint32_t candidate) {
    const std::uint8_t* const there = tables_.window + candidate;
    const std::uint16_t rank = tables_.ranks[candidate & ChainTables::kMask];
    const bool is_beyond = static_cast<std::uint16_t>(head_rank_ - rank) >= query_.chain;
    if (!is_beyond && Load32(there + best_.length - 3) != ending_) return false;
    const std::uint64_t difference = first_ ^ Load64(there);
    if ((difference & 0xFFFFFF) != 0) return false;  // of another chain; its rank says nothing
    if (is_beyond) return true;
    const std::uint32_t length = MatchLength(here_, there, difference, query_.max_length);
    if (length <= best_.length) return false;
    best_ = {length, candidate};
    if (length >= query_.max_length) return true;
    ending_ = Load32(here_ + length - 3);
    return false;
  }

  // Both walks tell whether they came to their end within `steps` candidates.
  bool WalkByBeginning(std::uint32_t steps) {
    std::uint32_t at = tables_.long_links[query_.position & ChainTables::kMask];
    while (at > query_.limit || at == query_.head) {
      if (steps-- == 0) return false;
      if (Consider(at)) return true;
      at = tables_.long_links[at & ChainTables::kMask];
    }
    return true;
  }

  bool WalkByEnding(std::uint32_t steps) {
    const std::uint32_t offset = best_.length - 3;
    // A candidate whose ending lies behind the position itself is not in that chain yet.
    std::uint32_t at = tables_.long_links[query_.position & ChainTables::kMask];
    for (; at + offset > query_.position && at > query_.limit;
         at = tables_.long_links[at & ChainTables::kMask]) {
      if (Consider(at)) return true;
    }
    at = tables_.long_heads[LongHash(Load32(here_ + offset))];
    while (at > query_.limit + offset || at == query_.head + offset) {
      if (steps-- == 0) return false;
      if (Consider(at - offset)) return true;
      at = tables_.long_links[at & ChainTables::kMask];
    }
    return true;
  }

  // Three bytes are all there is to gain, and only near ones are worth it.
  FoundMatch FindThreeBytes() {
    const std::uint32_t nearest_dropped =
        query_.position > kTooFarForShortest ? query_.position - kTooFarForShortest - 1 : 0;
    const std::uint32_t limit = std::max(query_.limit, nearest_dropped);
    std::uint32_t candidate = query_.head;
    for (std::uint32_t chain = query_.chain; chain > 0; --chain) {
      const auto difference =
          static_cast<std::uint32_t>(first_) ^ Load32(tables_.window + candidate);
      if ((difference & 0xFFFFFF) == 0) return {kMinMatch, candidate};
      candidate = tables_.links[candidate & ChainTables::kMask];
      if (candidate <= limit) break;
    }
    return {};
  }

  const ChainTables tables_;
  const ChainQuery query_;
  const std::uint8_t* const here_;
  const std::uint64_t first_;
  const std::uint32_t head_rank_;
  FoundMatch best_;
  std::uint32_t ending_ = 0;  // the last four bytes a match longer than best_ must have
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_CHAIN_SEARCH_H_

// Finds the match that the plain walk along a long chain would find, without comparing most of the
// candidates that cannot win. Only one central loop includes this header; the search is inlined
// into it.
//
// A match of more than three bytes also shares its first four bytes, and one longer than the best
// so far shares the last four bytes that it must have. So there are chains over strings of four
// bytes. They are sparser than the others, and a winning candidate is in two of them: that of its
// beginning and that of its ending. Walking either one finds it. Strings are entered into the
// chains ahead of the search, so the chain of the ending starts at the link of the ending itself.
//
// The plain walk compares a limited number of candidates. Ranks tell how many of them it would have
// met before a given one: the rank of a position is one more than that of its predecessor in the
// plain chain, so the difference of two ranks is the number of steps between them.
#ifndef MOLDEX_CSCOMPR_LZH_DEEP_SEARCH_H_
#define MOLDEX_CSCOMPR_LZH_DEEP_SEARCH_H_

#include <algorithm>
#include <cstdint>

#include "cscompr/lzh/chain_search.h"

namespace cscompr {

// More bits than the number of positions needs, so that most strings that do not repeat find no
// candidate.
inline constexpr int kLongHashBits = 15;

// The hash of four bytes, in 16-bit arithmetic, which compilers turn into vector code.
constexpr std::uint16_t LongHash(std::uint8_t first, std::uint8_t second, std::uint8_t third,
                                 std::uint8_t fourth) {
  const auto low = static_cast<std::uint16_t>(first | second << 8);
  const auto high = static_cast<std::uint16_t>(third | fourth << 8);
  const auto mixed = static_cast<std::uint16_t>(low * 0x9E37U + high * 0x79B1U);
  return static_cast<std::uint16_t>(mixed >> (16 - kLongHashBits));
}

// The tables of a deep search, by position.
struct ChainTables {
  const std::uint8_t* window;
  const std::uint16_t* links;
  const std::uint32_t* long_links;  // rank << 16 | link in the chain over four bytes
};

// Whether a search for a match of four bytes or more could find one: exact for the first candidate,
// true if there are more. Without branches, for the reason given at ShortSearch::MayMatch.
[[gnu::always_inline]] inline bool MayMatchFour(const ChainTables& tables,
                                                const ChainQuery& query) {
  const std::uint32_t nearest = tables.long_links[query.position] & 0xFFFF;
  const std::uint32_t second = tables.long_links[nearest] & 0xFFFF;
  const bool matches = Load32(tables.window + nearest) == Load32(tables.window + query.position);
  const bool has_nearest = nearest > query.limit;
  const bool has_second = second > query.limit;
  const bool has_space = query.max_length > kMinMatch;
  return (has_nearest & has_space & (matches | has_second)) != 0;
}

// The nearest match of three bytes within the distance at which one pays. Compares the first
// candidates without branches, too.
[[gnu::always_inline]] inline FoundMatch FindThreeBytes(const ChainTables& tables,
                                                        const ChainQuery& query) {
  const std::uint32_t nearest_dropped =
      query.position > kTooFarForShortest ? query.position - kTooFarForShortest - 1 : 0;
  const std::uint32_t limit = std::max(query.limit, nearest_dropped);
  const std::uint32_t bytes = Load32(tables.window + query.position);
  const auto matches = [&](std::uint32_t candidate) {
    return ((Load32(tables.window + candidate) ^ bytes) & 0xFFFFFF) == 0;
  };
  const bool has_first = query.head > limit;
  const bool has_second = tables.links[query.head] > limit;
  if ((has_first & (matches(query.head) | has_second)) == 0) return {};
  std::uint32_t candidate = query.head;
  for (std::uint32_t chain = query.chain; candidate > limit && chain > 0; --chain) {
    if (matches(candidate)) return {kMinMatch, candidate};
    candidate = tables.links[candidate];
  }
  return {};
}

// All candidates, the first included, are above `query.limit`.
class DeepSearch {
 public:
  // `query.beat` is at least 3, `query.max_length` more than that.
  DeepSearch(const ChainTables& tables, const ChainQuery& query)
      : tables_(tables),
        query_(query),
        here_(tables.window + query.position),
        first_(Load64(here_)),
        last_rank_(Rank(query.position) - query.chain),
        next_(Link(query.position)),
        best_{query.beat, 0} {}

  // The longest match of more than `query.beat` bytes.
  FoundMatch Run() {
    while (next_ > query_.limit && FindBetter()) {
    }
    return best_;
  }

 private:
  enum class Walk { kFound, kEnd, kOutOfSteps };
  static constexpr std::uint32_t kNoBudget = 1U << 16;  // more than the window has positions

  [[nodiscard]] std::uint32_t Link(std::uint32_t position) const {
    return tables_.long_links[position] & 0xFFFF;
  }
  [[nodiscard]] std::uint32_t Rank(std::uint32_t position) const {
    return tables_.long_links[position] >> 16;
  }
  [[nodiscard]] bool IsBeyond(std::uint32_t rank) const {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(rank - last_rank_)) < 0;
  }

  // Takes the chain whose next entry is older, because it is probably the sparser one.
  bool FindBetter() {
    const std::uint32_t offset = best_.length - 3;
    ending_ = Load32(here_ + offset);
    if (offset == 0) return WalkByBeginning(kNoBudget) == Walk::kFound;
    const std::uint32_t by_ending = Link(query_.position + offset);
    const std::uint32_t trial = query_.chain / 16;
    Walk walk = Walk::kOutOfSteps;
    if (by_ending < next_ + offset) {
      walk = WalkByEnding(query_.chain);
    } else {
      walk = WalkByBeginning(trial);
      if (walk == Walk::kOutOfSteps) walk = WalkByEnding(trial);
    }
    if (walk == Walk::kOutOfSteps) walk = WalkByBeginning(kNoBudget);
    return walk == Walk::kFound;
  }

  [[gnu::always_inline]] Walk WalkByBeginning(std::uint32_t steps) {
    const std::uint8_t* const endings = tables_.window + best_.length - 3;
    std::uint32_t at = next_;
    while (at > query_.limit) {
      if (steps-- == 0) {
        next_ = at;
        return Walk::kOutOfSteps;
      }
      const std::uint32_t entry = tables_.long_links[at];
      const bool is_beyond = IsBeyond(entry >> 16);
      if (is_beyond || Load32(endings + at) == ending_) [[unlikely]] {
        const std::uint8_t* const there = tables_.window + at;
        const std::uint64_t difference = first_ ^ Load64(there);
        if (static_cast<std::uint32_t>(difference) == 0) {
          if (is_beyond) return Walk::kEnd;
          const std::uint32_t length = MatchLength(here_, there, difference, query_.max_length);
          if (length > best_.length) return Found(length, at);
        }
      }
      at = entry & 0xFFFF;
    }
    return Walk::kEnd;
  }

  [[gnu::always_inline]] Walk WalkByEnding(std::uint32_t steps) {
    const std::uint32_t offset = best_.length - 3;
    const std::uint32_t limit = query_.limit + offset;
    std::uint32_t at = Link(query_.position + offset);
    while (at > limit) {
      if (steps-- == 0) return Walk::kOutOfSteps;
      const std::uint8_t* const there = tables_.window + at - offset;
      const std::uint64_t difference = first_ ^ Load64(there);
      if (static_cast<std::uint32_t>(difference) == 0 && Load32(there + offset) == ending_) {
        if (IsBeyond(Rank(at - offset))) return Walk::kEnd;
        const std::uint32_t length = MatchLength(here_, there, difference, query_.max_length);
        if (length > best_.length) return Found(length, at - offset);
      }
      at = Link(at);
    }
    return Walk::kEnd;
  }

  Walk Found(std::uint32_t length, std::uint32_t position) {
    best_ = {length, position};
    next_ = Link(position);
    return length >= query_.max_length ? Walk::kEnd : Walk::kFound;
  }

  const ChainTables tables_;
  const ChainQuery query_;
  const std::uint8_t* const here_;
  const std::uint64_t first_;
  const std::uint32_t last_rank_;  // of the last candidate to compare
  std::uint32_t next_;             // the next candidate in the chain of the beginning
  FoundMatch best_;
  std::uint32_t ending_ = 0;  // the last four bytes a match longer than best_ must have
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_DEEP_SEARCH_H_

// The central loop of the encoder: lazy matching over hash chains. It stands alone because nearly
// all of the encoder's time is spent here, and it is long because its state lives in locals.
//
// The hash of three bytes has 14 bits; every position is inserted at the head of its hash's chain,
// so a walk along a chain meets the nearest candidates first and only a longer match replaces one
// already found. Strings that share a hash by chance use up the candidates a level allows.
//
// A match found at one position is kept pending until the next position was searched: if that
// brings a longer one, a literal takes the first position's place, else the pending match is
// added and the strings inside it are inserted unsearched.
#include <algorithm>

#include "cscompr/lzh_chain_search.h"
#include "cscompr/lzh_matcher.h"

namespace cscompr {

void LzhMatcher::Decide(LzhTokens& tokens, std::uint32_t limit) {
  if (IsDeep()) {
    DecideWith<true>(tokens, limit);
  } else {
    DecideWith<false>(tokens, limit);
  }
}

template <bool kDeep>
void LzhMatcher::DecideWith(LzhTokens& tokens, std::uint32_t limit) {
  std::uint16_t* const heads = heads_.data();
  std::uint16_t* const links = links_.data();
  std::uint16_t* const long_heads = long_heads_.data();
  std::uint16_t* const long_links = long_links_.data();
  std::uint16_t* const ranks = ranks_.data();
  const std::uint8_t* const window = window_.data();
  const ChainTables tables{window, links, long_heads, long_links, ranks};
  LzhToken* next = tokens.tokens.data() + tokens.size;
  const LzhToken* const stop = tokens.tokens.data() + tokens.stop;
  const std::uint32_t end = end_;
  const Effort effort = effort_;
  std::uint32_t position = position_;
  Match pending = pending_;

  const auto insert = [=](std::uint32_t at) {
    const std::uint32_t bytes = Load32(window + at);
    std::uint16_t& head = heads[Hash(bytes)];
    const std::uint32_t previous = head;
    links[at & ChainTables::kMask] = head;
    head = static_cast<std::uint16_t>(at);
    if constexpr (kDeep) {
      std::uint16_t& long_head = long_heads[LongHash(bytes)];
      long_links[at & ChainTables::kMask] = long_head;
      long_head = static_cast<std::uint16_t>(at);
      ranks[at & ChainTables::kMask] =
          static_cast<std::uint16_t>(ranks[previous & ChainTables::kMask] + 1);
    }
    return previous;
  };
  const auto search = [=](std::uint32_t at, std::uint32_t candidate, std::uint32_t beat,
                          std::uint32_t chain) -> Match {
    const std::uint32_t max_length = std::min(end - at, std::uint32_t{kMaxMatch});
    const std::uint32_t farthest = at > kMaxDistance ? at - kMaxDistance : 0;
    if (candidate == 0 || candidate < farthest || beat >= max_length) return {};
    const ChainQuery query{at, candidate, beat, max_length, farthest, chain};
    FoundMatch found;
    if constexpr (kDeep) {
      found = DeepSearch(tables, query).Run();
    } else {
      found = PlainSearch(tables, query);
    }
    return found.position != 0 ? Match{found.length, at - found.position} : Match{};
  };

  while (position < limit && next != stop) {
    const std::uint32_t candidate = insert(position);
    if (pending.length == 0) {
      pending = search(position, candidate, kMinMatch - 1, effort.max_chain);
      if (pending.length == kMinMatch && pending.distance > kTooFarForShortest) pending = {};
      if (pending.length == 0) *next++ = LiteralToken(window[position]);
      ++position;
      continue;
    }
    Match longer;
    if (pending.length < effort.max_lazy) {
      const bool is_good = pending.length >= effort.good_length;
      longer = search(position, candidate, pending.length, effort.max_chain / (is_good ? 4 : 1));
    }
    if (longer.length > 0) {
      *next++ = LiteralToken(window[position - 1]);
      pending = longer;
      ++position;
      continue;
    }
    *next++ = MatchToken(pending.length, pending.distance);
    const std::uint32_t behind = position - 1 + pending.length;
    const std::uint32_t insertable = std::min(behind, end - kMinMatch + 1);
    while (++position < insertable)
      insert(position);
    position = behind;
    pending = {};
  }

  tokens.size = static_cast<std::size_t>(next - tokens.tokens.data());
  position_ = position;
  pending_ = pending;
}

}  // namespace cscompr

// The encoder's central loop for the levels that search long chains, which looks at every position
// as the one for short chains does but keeps the tables that a DeepSearch needs. It stands alone
// because nearly all of the encoder's time is spent here.
#include <algorithm>

#include "cscompr/lzh_chain_search.h"
#include "cscompr/lzh_matcher.h"

namespace cscompr {

void LzhMatcher::DecideDeep(LzhTokens& tokens, std::uint32_t limit) {
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
    std::uint16_t& long_head = long_heads[LongHash(bytes)];
    long_links[at & ChainTables::kMask] = long_head;
    long_head = static_cast<std::uint16_t>(at);
    ranks[at & ChainTables::kMask] =
        static_cast<std::uint16_t>(ranks[previous & ChainTables::kMask] + 1);
    return previous;
  };
  const auto search = [=](std::uint32_t at, std::uint32_t candidate, std::uint32_t beat,
                          std::uint32_t chain) -> Match {
    const std::uint32_t max_length = std::min(end - at, std::uint32_t{kMaxMatch});
    const std::uint32_t farthest = at > kMaxDistance ? at - kMaxDistance : 0;
    if (candidate == 0 || candidate < farthest || beat >= max_length) return {};
    const ChainQuery query{at, candidate, beat, max_length, farthest, chain};
    const FoundMatch found = DeepSearch(tables, query).Run();
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

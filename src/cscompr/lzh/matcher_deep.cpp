// The encoder's central loop for the levels that search long chains. It decides every position as
// the loop for short chains does, but maintains the tables that DeepSearch needs. It stands alone
// because the encoder spends nearly all of its time here. It is one long function because its state
// must stay in registers.
#include <algorithm>
#include <array>

#include "cscompr/lzh/deep_search.h"
#include "cscompr/lzh/matcher.h"

namespace cscompr {
namespace {

constexpr std::uint32_t kInsertAhead = 512;
// A search starts at the links of strings within the match that it looks for.
constexpr std::uint32_t kLeastAhead = kMaxMatch - kMinMatch;

}  // namespace

void LzhMatcher::InsertDeepUpTo(std::uint32_t limit) {
  static_assert(kLongHashEntries == 1U << kLongHashBits);
  std::array<std::uint16_t, kHashBatch> hashes;       // NOLINT(*-member-init): filled below
  std::array<std::uint16_t, kHashBatch> long_hashes;  // NOLINT(*-member-init): filled below
  while (inserted_ < limit) {
    const std::uint8_t* const strings = window_.data() + inserted_;
    for (std::size_t i = 0; i < kHashBatch; ++i)
      hashes[i] = Hash(strings[i], strings[i + 1], strings[i + 2]);
    for (std::size_t i = 0; i < kHashBatch; ++i)
      long_hashes[i] = LongHash(strings[i], strings[i + 1], strings[i + 2], strings[i + 3]);
    const std::uint32_t count = std::min(limit - inserted_, kHashBatch);
    std::uint16_t* const links = links_.data() + inserted_;
    std::uint32_t* const long_links = long_links_.data() + inserted_;
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto position = static_cast<std::uint16_t>(inserted_ + i);
      std::uint16_t& head = heads_[hashes[i]];
      std::uint16_t& long_head = long_heads_[long_hashes[i]];
      const std::uint16_t previous = head;
      const std::uint32_t rank = (long_links_[previous] >> 16) + 1;
      links[i] = previous;
      head = position;
      long_links[i] = (rank << 16) | long_head;
      long_head = position;
    }
    inserted_ += count;
  }
}

void LzhMatcher::DecideDeep(LzhTokens& tokens, std::uint32_t limit) {
  const std::uint8_t* const window = window_.data();
  const ChainTables tables{window, links_.data(), long_links_.data()};
  LzhToken* next = tokens.tokens.data() + tokens.size;
  const LzhToken* const stop = tokens.tokens.data() + tokens.stop;
  const std::uint32_t end = end_;
  const Effort effort = effort_;
  std::uint32_t position = position_;
  Match pending = pending_;
  // The last string of three bytes has no fourth byte until more input comes. After the end of the
  // stream no search needs that byte.
  const std::uint32_t insertable = end - (EndIsInWindow() ? kMinMatch - 1 : kMinMatch);

  while (position < limit && next != stop) {
    if (position + kLeastAhead >= inserted_ && inserted_ < insertable) {
      InsertDeepUpTo(std::min(position + kInsertAhead, insertable));
    }
    const std::uint32_t max_length = std::min(end - position, std::uint32_t{kMaxMatch});
    const std::uint32_t farthest = position > kMaxDistance ? position - kMaxDistance : 0;
    const std::uint32_t candidate = tables.links[position];
    // The first candidate may be as far away as kMaxDistance, later ones may not.
    const std::uint32_t below = farthest - (candidate == farthest && farthest > 0 ? 1U : 0U);
    if (pending.length == 0) {
      const ChainQuery query{position, candidate, kMinMatch, max_length, below, effort.max_chain};
      FoundMatch found;
      if (MayMatchFour(tables, query)) found = DeepSearch(tables, query).Run();
      if (found.position == 0) found = FindThreeBytes(tables, query);
      if (found.position != 0) {
        pending = {found.length, position - found.position};
      } else {
        *next++ = LiteralToken(window[position]);
      }
      ++position;
      continue;
    }
    if (candidate > below && pending.length < effort.max_lazy && pending.length < max_length) {
      const std::uint32_t chain = effort.max_chain / (pending.length >= effort.good_length ? 4 : 1);
      const FoundMatch longer =
          DeepSearch(tables, {position, candidate, pending.length, max_length, below, chain}).Run();
      if (longer.position != 0) {
        *next++ = LiteralToken(window[position - 1]);
        pending = {longer.length, position - longer.position};
        ++position;
        continue;
      }
    }
    *next++ = MatchToken(pending.length, pending.distance);
    position += pending.length - 1;
    pending = {};
  }

  tokens.size = static_cast<std::size_t>(next - tokens.tokens.data());
  position_ = position;
  pending_ = pending;
}

}  // namespace cscompr

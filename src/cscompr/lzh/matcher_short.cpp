// The encoder's central loop for the levels that search short chains: lazy matching over hash
// chains. It stands alone because the encoder spends nearly all of its time here. It is one long
// function because its state must stay in registers.
//
// The hash of three bytes has 14 bits. Every position is inserted at the head of the chain of its
// hash. So a walk along a chain meets the nearest candidates first, and only a longer match
// replaces one that was found. Strings with the same hash but other bytes count towards the level's
// limit of candidates.
//
// Lazy matching keeps a match pending until the next position was searched. If that position has a
// longer match, a literal replaces the pending match; otherwise the pending match is added, and the
// strings within it are passed over.
//
// Every position is inserted, whatever is decided about it. So insertion runs ahead of the search
// by hundreds of positions, in a loop of its own without branches that depend on the data. The link
// of a position, its predecessor in the chain, is then the first candidate of its search.
//
// After a row of literals more of them are likely, as in files that are compressed already. A loop
// without unpredictable branches then passes over the positions that cannot have a match.
#include <algorithm>
#include <array>
#include <cstddef>

#include "cscompr/lzh/chain_search.h"
#include "cscompr/lzh/matcher.h"

namespace cscompr {
namespace {

constexpr std::uint32_t kInsertAhead = 256;
constexpr std::ptrdiff_t kLiteralRow = 16;  // shorter ones are common in text

}  // namespace

void LzhMatcher::InsertUpTo(std::uint32_t limit) {
  std::array<std::uint16_t, kHashBatch> hashes;  // NOLINT(*-member-init): filled below
  while (inserted_ < limit) {
    // Hashes a whole batch byte by byte, because compilers turn this form into vector code.
    const std::uint8_t* const strings = window_.data() + inserted_;
    for (std::size_t i = 0; i < kHashBatch; ++i)
      hashes[i] = Hash(strings[i], strings[i + 1], strings[i + 2]);
    const std::uint32_t count = std::min(limit - inserted_, kHashBatch);
    std::uint16_t* const links = links_.data() + inserted_;
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint16_t& head = heads_[hashes[i]];
      links[i] = head;
      head = static_cast<std::uint16_t>(inserted_ + i);
    }
    inserted_ += count;
  }
}

void LzhMatcher::DecideShort(LzhTokens& tokens, std::uint32_t limit) {
  const std::uint8_t* const window = window_.data();
  const std::uint16_t* const links = links_.data();
  const ShortSearch searcher(window, links);
  LzhToken* next = tokens.tokens.data() + tokens.size;
  const LzhToken* const stop = tokens.tokens.data() + tokens.stop;
  const std::uint32_t end = end_;
  const Effort effort = effort_;
  std::uint32_t position = position_;
  Match pending = pending_;
  const LzhToken* row_begin = next;
  const auto farthest_of = [](std::uint32_t at) {
    return at > kMaxDistance ? at - kMaxDistance : 0;
  };

  while (position < limit && next != stop) {
    if (position >= inserted_) InsertUpTo(std::min(position + kInsertAhead, end - kMinMatch + 1));
    const std::uint32_t max_length = std::min(end - position, std::uint32_t{kMaxMatch});
    const std::uint32_t farthest = farthest_of(position);
    const std::uint32_t candidate = links[position];
    const bool has_candidate = candidate >= std::max(farthest, 1U);
    if (pending.length == 0) {
      if (has_candidate) {
        const FoundMatch found =
            searcher.Find({position, candidate, 0, max_length, farthest, effort.max_chain});
        const std::uint32_t distance = position - found.position;
        // Selected without a branch, which would be unpredictable.
        const std::uint32_t least = distance > kTooFarForShortest ? kMinMatch + 1 : kMinMatch;
        if (found.length >= least) {
          pending = {found.length, distance};
          ++position;
          continue;
        }
      }
      *next++ = LiteralToken(window[position++]);
      if (next - row_begin >= kLiteralRow) {
        const std::uint32_t known = std::min(limit, inserted_);
        while (position < known && next != stop &&
               !searcher.MayMatch(position, farthest_of(position)))
          *next++ = LiteralToken(window[position++]);
      }
      continue;
    }
    if (has_candidate && pending.length < effort.max_lazy && pending.length < max_length) {
      const std::uint32_t chain = effort.max_chain / (pending.length >= effort.good_length ? 4 : 1);
      const FoundMatch longer = searcher.FindLonger(
          {position, candidate, pending.length, max_length, farthest, chain}, {pending.length, 0});
      if (longer.position != 0) {
        *next++ = LiteralToken(window[position - 1]);
        pending = {longer.length, position - longer.position};
        ++position;
        continue;
      }
    }
    *next++ = MatchToken(pending.length, pending.distance);
    row_begin = next;
    position += pending.length - 1;
    pending = {};
  }

  tokens.size = static_cast<std::size_t>(next - tokens.tokens.data());
  position_ = position;
  pending_ = pending;
}

}  // namespace cscompr

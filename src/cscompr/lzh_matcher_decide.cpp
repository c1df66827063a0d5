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
#include <bit>

#include "cscompr/lzh_matcher.h"
#include "cscompr/wide_access.h"

namespace cscompr {
namespace {

// A match of the shortest length so far back costs more than three literals.
constexpr std::uint32_t kTooFarForShortest = 4096;

constexpr std::uint32_t Hash(std::uint32_t next_bytes) {
  return ((next_bytes << 10) ^ (next_bytes >> 3 & 0x1FE0) ^ (next_bytes >> 16 & 0xFF)) & 0x3FFF;
}

// Bytes that agree from `a` and `b` on, the first 8 of which differ by `difference`. May exceed
// `max_length` by what a wide load reaches.
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

struct Found {
  std::uint32_t length;
  std::uint32_t position;
};

// The walk along one chain. `beat` is the length to exceed; a result of that length means that
// nothing longer was found.
inline Found WalkChain(const std::uint8_t* window, const std::uint16_t* links, std::uint32_t mask,
                       std::uint32_t position, std::uint32_t candidate, std::uint32_t beat,
                       std::uint32_t max_length, std::uint32_t limit, std::uint32_t chain) {
  const std::uint8_t* const here = window + position;
  const std::uint64_t first = Load64(here);
  Found best{beat, 0};
  if (beat < kMinMatch) {
    // All three bytes of a first match are new.
    for (;;) {
      const std::uint64_t difference = first ^ Load64(window + candidate);
      if ((difference & 0xFFFFFF) == 0) {
        best = {MatchLength(here, window + candidate, difference, max_length), candidate};
        break;
      }
      candidate = links[candidate & mask];
      if (candidate <= limit || --chain == 0) return best;
    }
    if (best.length >= max_length) return best;
    candidate = links[candidate & mask];
    if (candidate <= limit || --chain == 0) return best;
  }
  // From here on four bytes, those a longer match must end in, settle nearly every candidate.
  std::uint32_t ending = Load32(here + best.length - 3);
  for (;;) {
    if (Load32(window + candidate + best.length - 3) == ending) {
      const std::uint32_t length =
          MatchLength(here, window + candidate, first ^ Load64(window + candidate), max_length);
      if (length > best.length) {
        best = {length, candidate};
        if (length >= max_length) return best;
        ending = Load32(here + length - 3);
      }
    }
    candidate = links[candidate & mask];
    if (candidate <= limit || --chain == 0) return best;
  }
}

}  // namespace

// Decides the positions below `limit`. Behind each of them stand kMinLookahead bytes, or at least
// three and then the stream's end.
void LzhMatcher::Decide(LzhTokens& tokens, std::uint32_t limit) {
  const std::uint8_t* const window = window_.data();
  std::uint16_t* const heads = heads_.data();
  std::uint16_t* const links = links_.data();
  LzhToken* next = tokens.tokens.data() + tokens.size;
  const LzhToken* const stop = tokens.tokens.data() + tokens.stop;
  const std::uint32_t end = end_;
  const Effort effort = effort_;
  std::uint32_t position = position_;
  Match pending = pending_;

  const auto insert = [=](std::uint32_t at) {
    std::uint16_t& head = heads[Hash(Load32(window + at))];
    const std::uint32_t previous = head;
    links[at & kMask] = static_cast<std::uint16_t>(previous);
    head = static_cast<std::uint16_t>(at);
    return previous;
  };
  const auto search = [=](std::uint32_t at, std::uint32_t candidate, std::uint32_t beat,
                          std::uint32_t chain) -> Match {
    const std::uint32_t max_length = std::min(end - at, std::uint32_t{kMaxMatch});
    const std::uint32_t farthest = at > kMaxDistance ? at - kMaxDistance : 0;
    if (candidate == 0 || candidate < farthest || beat >= max_length) return {};
    const Found found =
        WalkChain(window, links, kMask, at, candidate, beat, max_length, farthest, chain);
    return found.length > beat ? Match{found.length, at - found.position} : Match{};
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
      longer =
          search(position, candidate, pending.length,
                 pending.length >= effort.good_length ? effort.max_chain / 4 : effort.max_chain);
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

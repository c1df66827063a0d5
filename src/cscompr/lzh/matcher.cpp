#include "cscompr/lzh/matcher.h"

#include <algorithm>
#include <cstring>

namespace cscompr {

// By level - 1.
constexpr std::array<LzhMatcher::Effort, 9> LzhMatcher::kEfforts = {{{4, 4, 16},
                                                                     {6, 8, 16},
                                                                     {8, 16, 32},
                                                                     {8, 32, 64},
                                                                     {8, 64, 128},
                                                                     {8, 128, 256},
                                                                     {8, 128, 512},
                                                                     {32, 258, 1024},
                                                                     {32, 258, 4096}}};

void LzhMatcher::ResetAt(int level, std::uint32_t stream_length, std::uint32_t origin,
                         const LzhPlace& place) {
  effort_ = kEfforts[static_cast<std::size_t>(level) - 1];
  heads_.fill(0);
  if (IsDeep()) long_heads_.fill(0);
  origin_ = origin;
  inserted_ = 0;
  position_ = place.position - origin;
  end_ = 0;
  remaining_ = stream_length - origin;
  pending_ = {place.pending_length, place.pending_distance};
}

std::uint32_t LzhMatcher::Feed(std::span<const std::uint8_t> input) {
  const auto taken =
      static_cast<std::uint32_t>(std::min<std::size_t>({input.size(), kWindow - end_, remaining_}));
  if (taken > 0) std::memcpy(window_.data() + end_, input.data(), taken);
  end_ += taken;
  remaining_ -= taken;
  return taken;
}

// Moves the upper half of the window down. This happens only when the window is as full as it can
// get, so that it does not depend on how the input is cut.
void LzhMatcher::Slide() {
  std::memcpy(window_.data(), window_.data() + kHalfWindow, kHalfWindow);
  // Positions fit 15 bits, so the sign tells which ones drop out. Compilers turn this into vector
  // code.
  const auto rebase = [](auto& table, std::size_t first, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto moved = static_cast<std::int16_t>(table[first + i] - kHalfWindow);
      table[i] = static_cast<std::uint16_t>(std::max(moved, std::int16_t{0}));
    }
  };
  rebase(heads_, 0, kHashEntries);
  rebase(links_, kHalfWindow, kHalfWindow);
  if (IsDeep()) {
    rebase(long_heads_, 0, kLongHashEntries);
    for (std::size_t i = 0; i < kHalfWindow; ++i) {
      const std::uint32_t entry = long_links_[kHalfWindow + i];
      const std::uint32_t without_link = entry & 0xFFFF0000;
      long_links_[i] = (entry & 0xFFFF) < kHalfWindow ? without_link : entry - kHalfWindow;
    }
  }
  origin_ += kHalfWindow;
  inserted_ -= kHalfWindow;
  position_ -= kHalfWindow;
  end_ -= kHalfWindow;
}

LzhMatcher::Pause LzhMatcher::Run(LzhTokens& tokens) {
  for (;;) {
    if (tokens.size == tokens.stop) {
      const bool is_last_literal = AtStreamEnd() && IsLiteralToken(tokens.tokens[tokens.size - 1]);
      if (!is_last_literal) return Pause::kTokensAtStop;
    }
    if (AtStreamEnd()) return Pause::kStreamEnd;

    if (position_ + kMinLookahead <= end_) {
      Decide(tokens, end_ - kMinLookahead + 1);
    } else if (position_ >= kSlidePosition && (end_ == kWindow || EndIsInWindow())) {
      Slide();
    } else if (!EndIsInWindow()) {
      return Pause::kNeedsInput;
    } else if (position_ + kMinMatch <= end_) {
      Decide(tokens, std::min(end_ - kMinMatch + 1, kSlidePosition));
    } else {
      DecideTail(tokens);
    }
  }
}

void LzhMatcher::Decide(LzhTokens& tokens, std::uint32_t limit) {
  if (IsDeep()) {
    DecideDeep(tokens, limit);
  } else {
    DecideShort(tokens, limit);
  }
}

// The last two positions begin no string of three bytes, so no match is searched for them.
void LzhMatcher::DecideTail(LzhTokens& tokens) {
  if (pending_.length > 0) {
    tokens.tokens[tokens.size++] = MatchToken(pending_.length, pending_.distance);
    position_ += pending_.length - 1;
    pending_ = {};
  } else {
    tokens.tokens[tokens.size++] = LiteralToken(window_[position_++]);
  }
}

}  // namespace cscompr

// Decides where a block ends.
#ifndef MOLDEX_CSCOMPR_LZH_BLOCK_BORDER_H_
#define MOLDEX_CSCOMPR_LZH_BLOCK_BORDER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cscompr/lzh/token.h"

namespace cscompr {

// The number of times that each row of the tables in token.h occurs.
struct TokenCounts {
  std::array<std::uint32_t, kTokenRows> rows{};
  std::array<std::uint32_t, kDistanceRows> distances{};

  void Add(std::span<const LzhToken> tokens);
};

class LzhBlockBorder {
 public:
  // The number of tokens between two decisions whether a block ends early.
  static constexpr std::size_t kJudgingInterval = 4096;

  // For a stream. `closes_early`: whether a block may end before it is full. Open comes next.
  void Reset(bool closes_early) { closes_early_ = closes_early; }

  // Begins a block.
  void Open();

  // The next number of tokens at which the block may end.
  [[nodiscard]] std::size_t stop() const { return stop_; }

  // Whether the block ends after `tokens`, as many as the stop says. Moves the stop on if not.
  bool EndsAfter(std::span<const LzhToken> tokens);

  // The counts of `tokens`, all of the block.
  const TokenCounts& CountsOf(std::span<const LzhToken> tokens);

 private:
  [[nodiscard]] bool PaysToEndAfter(std::size_t size) const;

  TokenCounts counts_;
  std::size_t counted_ = 0;  // tokens that are in the counts
  std::size_t stop_ = 0;
  bool closes_early_ = false;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_BLOCK_BORDER_H_

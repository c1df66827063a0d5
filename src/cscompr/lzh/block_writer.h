// Collects the tokens of a block and writes the block: decides when it ends, builds its codes,
// chooses between these and the fixed ones, and sends it. Knows nothing of windows and matches.
#ifndef MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_
#define MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "cscompr/bit_writer.h"
#include "cscompr/lzh/token.h"

namespace cscompr {

// The tokens of the open block. Whoever adds one stops when `size` has reached `stop`, because the
// block may end there.
struct LzhTokens {
  static constexpr std::size_t kCapacity = 16383;

  std::array<LzhToken, kCapacity> tokens{};
  std::size_t size = 0;
  std::size_t stop = 0;
};

class LzhBlockWriter {
 public:
  // The most bytes one block can take: a match in fixed codes needs no more than 30 bits, and what
  // is sent never takes more than the fixed codes would. Header, end of block and bits held add 17.
  static constexpr std::size_t kMaxBlockBytes = (LzhTokens::kCapacity * 30 + 3 + 7 + 7) / 8 + 1;

  // `closes_early`: whether a block may end before it is full.
  void Reset(bool closes_early);

  [[nodiscard]] LzhTokens& Tokens() { return tokens_; }

  // With the tokens at their stop: whether the block ends here. If not, moves the stop on.
  bool EndsHere();

  // Sends the block and opens the next one. `output` is left with less than a byte held.
  void Close(bool is_final, BitWriter& output);

 private:
  void CountNewTokens();
  [[nodiscard]] bool PaysToEndHere() const;
  void Open();

  LzhTokens tokens_;
  std::size_t counted_ = 0;  // tokens that are in the counts below
  std::array<std::uint32_t, kTokenRows> row_counts_{};
  std::array<std::uint32_t, kDistanceRows> distance_counts_{};
  bool closes_early_ = false;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_

// Collects the tokens of a block and writes the block. Decides where the block ends, builds its
// codes, and sends it in these or in the fixed ones, whichever takes fewer bytes. Knows nothing of
// windows and matches.
#ifndef MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_
#define MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "cscompr/bit_writer.h"
#include "cscompr/lzh/token.h"

namespace cscompr {

// The tokens of the open block. The matcher adds them until `size` reaches `stop`, where the block
// may end.
struct LzhTokens {
  static constexpr std::size_t kCapacity = 16383;

  std::array<LzhToken, kCapacity> tokens{};
  std::size_t size = 0;
  std::size_t stop = 0;
};

class LzhBlockWriter {
 public:
  // The most bytes of one block. A match in fixed codes takes at most 30 bits, and no block is
  // longer than it would be in fixed codes. The header, the end of block and the bits held add 17.
  static constexpr std::size_t kMaxBlockBytes = (LzhTokens::kCapacity * 30 + 3 + 7 + 7) / 8 + 1;

  // `closes_early`: whether a block may end before it is full.
  void Reset(bool closes_early);

  [[nodiscard]] LzhTokens& Tokens() { return tokens_; }

  // Called when the tokens have reached their stop: whether the block ends here. Moves the stop on
  // if not.
  bool EndsHere();

  // Sends the block and opens the next one. Leaves less than a byte held in `output`.
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

// Writes blocks: builds the codes of one and sends it in these or in the fixed ones, whichever
// takes fewer bytes. Knows nothing of windows and matches.
#ifndef MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_
#define MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_

#include <cstddef>
#include <span>

#include "cscompr/bit_writer.h"
#include "cscompr/lzh/block_border.h"
#include "cscompr/lzh/token.h"

namespace cscompr {

// Sends a block of `tokens`, with `counts` their counts. Leaves less than a byte held in `output`.
void WriteBlock(bool is_final, std::span<const LzhToken> tokens, const TokenCounts& counts,
                BitWriter& output);

// Collects the tokens of one block after the other and writes the blocks.
class LzhBlockWriter {
 public:
  // The most bytes of one block. A match in fixed codes takes at most 30 bits, and no block is
  // longer than it would be in fixed codes. The header, the end of block and the bits held add 17.
  static constexpr std::size_t kMaxBlockBytes = (LzhTokens::kCapacity * 30 + 3 + 7 + 7) / 8 + 1;

  // `closes_early`: whether a block may end before it is full.
  void Reset(bool closes_early);

  // The tokens of the open block. At their stop the block may end.
  [[nodiscard]] LzhTokens& Tokens() { return tokens_; }

  // Called when the tokens have reached their stop: whether the block ends here. Moves the stop on
  // if not.
  bool EndsHere();

  // Sends the block and opens the next one. Leaves less than a byte held in `output`.
  void Close(bool is_final, BitWriter& output);

 private:
  void Open();
  [[nodiscard]] std::span<const LzhToken> Added() const {
    return std::span(tokens_.tokens).first(tokens_.size);
  }

  LzhTokens tokens_;
  LzhBlockBorder border_;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_BLOCK_WRITER_H_

// Puts the pieces of a stream together, on one thread, in the order of the stream: first their
// tokens, later the bits of their blocks.
//
// Why agreement at one place means agreement for the rest: a matcher's next decision depends on its
// place (the position and the pending match), the bytes in its window, and the chains of the
// strings in it. Each piece begins where the window is full and ends at a multiple of its half, so
// that two matchers have the same bytes in it. The chains hold every string of the window, whatever
// was decided about it, in the order of their positions; links to bytes before the window lead
// nowhere in both. The ranks of a deep search may differ, but only by the same number throughout a
// chain, and only differences within one chain count. So two matchers at the same place there go on
// to the same tokens, to the end of the stream.
#ifndef MOLDEX_CSCOMPR_LZH_PIECE_JOINER_H_
#define MOLDEX_CSCOMPR_LZH_PIECE_JOINER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cscompr/lzh/block_border.h"
#include "cscompr/lzh/matcher.h"
#include "cscompr/lzh/piece.h"
#include "cscompr/lzh/piece_matcher.h"
#include "cscompr/lzh/token.h"

namespace cscompr {

class LzhPieceJoiner {
 public:
  void Start(const LzhStream& stream);

  // Joins the next piece, matched, to those before it: corrects its tokens where they disagree, and
  // sets its blocks. `input` is what its matching was given. Uses `matcher` only for a correction,
  // which takes up to the time of matching. Returns the number of bytes that were matched again.
  std::uint32_t Join(const LzhPieceInput& input, LzhPieceMatcher& matcher, LzhPiece& piece);

  // Where the first token begins that does not belong to the pieces joined so far.
  [[nodiscard]] std::uint32_t TokenBegin() const {
    return place_.position - (place_.pending_length > 0 ? 1 : 0);
  }

  // Joins the next coded piece to those before it, and returns its part of the stream: the stream's
  // header if it is the first, then its bits but for the last few, which wait for the next piece,
  // unless it is the last. The bytes stand in the memory of `coded`. Makes
  // `coded.bytes_after_step` those that LzhEncoder would have delivered by then.
  std::span<const std::uint8_t> Append(LzhCodedPiece& coded);

 private:
  void CutBlocks(LzhPiece& piece);

  LzhStream stream_;
  LzhPlace place_;  // where the tokens that were joined end
  LzhBlockBorder border_;
  std::array<LzhToken, LzhPiece::kMostCarried> open_block_{};
  std::uint32_t open_size_ = 0;
  bool is_first_ = false;  // for Append
  std::uint8_t held_ = 0;  // the bits of the last byte
  unsigned held_bits_ = 0;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_PIECE_JOINER_H_

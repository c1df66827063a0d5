// Makes the tokens of one piece of a stream. An object may be used for any pieces in turn, by one
// thread at a time. It is large (about 400 KB) and belongs on the heap.
//
// A matcher that starts within a stream enters the strings of the history into its chains, decides
// the last bytes before the piece, and gives away these tokens. Most often it falls into step with
// the matcher of the whole stream meanwhile. The joiner finds out whether it has.
#ifndef MOLDEX_CSCOMPR_LZH_PIECE_MATCHER_H_
#define MOLDEX_CSCOMPR_LZH_PIECE_MATCHER_H_

#include <cstdint>
#include <span>

#include "cscompr/lzh/matcher.h"
#include "cscompr/lzh/piece.h"
#include "cscompr/lzh/token.h"

namespace cscompr {

class LzhPieceMatcher {
 public:
  // Makes the tokens of a piece. Sets `size` and the steps of the piece.
  void Match(const LzhPieceInput& input, LzhPiece& piece);

  // Corrects a piece that Match made: `place` is where the tokens of the piece before end. Matches
  // again from there to the end of the first step after which the two agree, or to the end of the
  // piece, and returns the number of these bytes.
  std::uint32_t Correct(const LzhPieceInput& input, const LzhPlace& place, LzhPiece& piece);

 private:
  void Start(const LzhPieceInput& input, const LzhPlace& place);
  LzhToken* DecideStep(std::span<const std::uint8_t> step, LzhToken* end);
  template <typename Take>
  void Decide(Take take);

  LzhMatcher matcher_;
  LzhTokens tokens_;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_PIECE_MATCHER_H_

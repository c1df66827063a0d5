// Codes the blocks that end in a piece of a stream. Needs nothing but the piece, so that any thread
// may do it.
#ifndef MOLDEX_CSCOMPR_LZH_PIECE_CODER_H_
#define MOLDEX_CSCOMPR_LZH_PIECE_CODER_H_

#include "cscompr/lzh/piece.h"

namespace cscompr {

// Codes the blocks of a piece that was joined. Sets all of `coded` but what Append sets.
void CodePiece(const LzhPiece& piece, LzhCodedPiece& coded);

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_PIECE_CODER_H_

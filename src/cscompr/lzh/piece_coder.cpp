#include "cscompr/lzh/piece_coder.h"

#include "cscompr/bit_writer.h"
#include "cscompr/lzh/block_writer.h"

namespace cscompr {

void CodePiece(const LzhPiece& piece, LzhCodedPiece& coded) {
  std::uint8_t* const begin = coded.room.data() + LzhCodedPiece::kFront;
  BitWriter output;
  output.MoveTo(begin);
  std::span<const LzhToken> tokens = piece.Tokens();
  std::size_t coded_tokens = 0;
  std::uint32_t bits = 0;
  std::uint32_t step = 1;
  // Steps that end before `block_end` have no more bits than there are now.
  const auto end_steps = [&](std::size_t block_end) {
    for (; step <= piece.step_count; ++step) {
      if (piece.carried + piece.steps[step].token_count >= block_end) break;
      coded.bits_after_step[step - 1] = bits;
    }
  };
  for (std::uint32_t i = 0; i < piece.block_count; ++i) {
    const std::size_t size = piece.block_sizes[i];
    coded_tokens += size;
    end_steps(coded_tokens);
    TokenCounts counts;
    counts.Add(tokens.first(size));
    WriteBlock(piece.is_last && i + 1 == piece.block_count, tokens.first(size), counts, output);
    tokens = tokens.subspan(size);
    bits = static_cast<std::uint32_t>(output.Next() - begin) * 8 + output.HeldBits();
  }
  end_steps(static_cast<std::size_t>(-1));
  output.StoreAll();  // the byte after the last one is 0 then, so that Append may shift
  coded.step_count = piece.step_count;
  coded.is_last = piece.is_last;
}

}  // namespace cscompr

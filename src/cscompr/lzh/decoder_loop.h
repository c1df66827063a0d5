// The LZH decoder's central loop, and the margins to the buffers' ends that it relies on. Only
// decoder_fast.cpp calls it.
#ifndef MOLDEX_CSCOMPR_LZH_DECODER_LOOP_H_
#define MOLDEX_CSCOMPR_LZH_DECODER_LOOP_H_

#include <cstddef>
#include <cstdint>

#include "cscompr/lzh/decoder_copy.h"
#include "cscompr/lzh/symbol_run.h"

namespace cscompr {

// A turn of the loop decodes up to four literals, or some of them and a match.
inline constexpr int kLiteralsPerTurn = 4;

// A turn fills the bit buffer up to four times: after the second symbol and the fourth, after a
// link, and at its end. Each fill takes at most 7 bytes, and the last one loads 8.
inline constexpr std::ptrdiff_t kInputMargin = 3 * 7 + BitReader::kWideLoadBytes;
inline constexpr std::ptrdiff_t kLiteralMargin = kLiteralsPerTurn + 1;
inline constexpr std::ptrdiff_t kOutputMargin = kLiteralMargin + kMaxMatch + kCopyMargin;
static_assert(kMaxMatch >= kCopyMargin && kCopyMargin <= SlidingWindow::kReadAhead);

enum class LoopMode : std::uint8_t {
  kWithoutWindow,  // no match of the stream begins before this call's output
  kWithWindow,     // matches may begin in the window
  kCareful         // a turn that went too far is undone
};

struct LoopLimits {
  const std::uint8_t* in = nullptr;  // no turn begins beyond these two
  const std::uint8_t* out = nullptr;
  // In careful mode, what a turn must not pass if it is to count:
  const std::uint8_t* match = nullptr;      // where a match may end
  const std::uint8_t* input_end = nullptr;  // of the stream's bytes, padding left out
  const std::uint8_t* output_end = nullptr;
};

// Decodes turn by turn until a limit is reached, the block ends, or a code is bad. In careful mode
// a bad code may also mean that the input ends within the turn, so the turn is undone and kEdge
// returned. With `portable`, uses no instructions that only some processors have.
FastStop RunLoop(LoopMode mode, const TableEntry* literals, const TableEntry* distances,
                 SymbolRun& run, const LoopLimits& limits, bool portable);

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_DECODER_LOOP_H_

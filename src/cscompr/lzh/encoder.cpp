#include "cscompr/lzh/encoder.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "cscompr/cscompr.h"
#include "cscompr/stream_header.h"

namespace cscompr {

Outcome LzhEncoder::Start(std::int32_t original_length, std::int32_t level,
                          const Buffers& buffers) {
  WriteStreamHeader(static_cast<std::uint32_t>(original_length), Algorithm::kLzh,
                    static_cast<std::uint8_t>(level), buffers.output);
  matcher_.Reset(level, static_cast<std::uint32_t>(original_length));
  blocks_.Reset(level >= 3);
  bits_ = {};
  held_begin_ = 0;
  held_end_ = 0;
  is_complete_ = false;
  return Continue(buffers, {0, 0, kStreamHeaderBytes});
}

Outcome LzhEncoder::Resume(const Buffers& buffers) { return Continue(buffers, {}); }

Outcome LzhEncoder::Continue(const Buffers& buffers, Outcome outcome) {
  Deliver(buffers, outcome);
  // A call that offers no space at all can still read input.
  const bool is_full = outcome.bytes_written > 0 && outcome.bytes_written == buffers.output_length;
  while (!is_complete_ && !is_full && !HoldsOutput()) {
    switch (matcher_.Run(blocks_.Tokens())) {
      case LzhMatcher::Pause::kNeedsInput: {
        const auto left = static_cast<std::size_t>(buffers.input_length - outcome.bytes_read);
        if (left == 0) return {kCsInputExhausted, outcome.bytes_read, outcome.bytes_written};
        outcome.bytes_read += static_cast<std::int32_t>(
            matcher_.Feed(std::span(buffers.input + outcome.bytes_read, left)));
        break;
      }
      case LzhMatcher::Pause::kTokensAtStop:
        if (blocks_.EndsHere()) Close(false);
        break;
      case LzhMatcher::Pause::kStreamEnd:
        Close(true);
        is_complete_ = true;
        break;
    }
    Deliver(buffers, outcome);
  }
  outcome.code = is_complete_ && !HoldsOutput() ? kCsEndOfStream : kCsOutputFull;
  return outcome;
}

// The bits of the last byte stay in bits_ for the next block.
void LzhEncoder::Close(bool is_final) {
  bits_.MoveTo(held_.data());
  blocks_.Close(is_final, bits_);
  if (is_final) {
    bits_.StoreAll();
    bits_.Add(0, 8);
    bits_.StoreAll();
  }
  held_begin_ = 0;
  held_end_ = static_cast<std::size_t>(bits_.Next() - held_.data());
}

void LzhEncoder::Deliver(const Buffers& buffers, Outcome& outcome) {
  const auto space = static_cast<std::size_t>(buffers.output_length - outcome.bytes_written);
  const std::size_t count = std::min(space, held_end_ - held_begin_);
  if (count == 0) return;
  std::memcpy(buffers.output + outcome.bytes_written, held_.data() + held_begin_, count);
  held_begin_ += count;
  outcome.bytes_written += static_cast<std::int32_t>(count);
}

}  // namespace cscompr

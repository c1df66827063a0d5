// Compresses one LZH stream: stream header, tokens, blocks, and the zero byte at the end, over as
// many calls as the caller's buffers need. The part of a block that does not fit into the output is
// held, and delivered first on the next call. The front end calls it and has checked the arguments.
//
// The object holds all its state and allocates nothing.
#ifndef MOLDEX_CSCOMPR_LZH_ENCODER_H_
#define MOLDEX_CSCOMPR_LZH_ENCODER_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "cscompr/bit_writer.h"
#include "cscompr/buffers.h"
#include "cscompr/lzh/block_writer.h"
#include "cscompr/lzh/matcher.h"

namespace cscompr {

class LzhEncoder {
 public:
  // The first call of a stream. The header fits into the output, `level` is 1 to 9, and
  // `original_length` is not negative.
  Outcome Start(std::int32_t original_length, std::int32_t level, const Buffers& buffers);

  Outcome Resume(const Buffers& buffers);

 private:
  // A block, the end of its last byte, and the zero byte.
  static constexpr std::size_t kHeldBytes =
      LzhBlockWriter::kMaxBlockBytes + 2 + BitWriter::kSlackBytes;

  Outcome Continue(const Buffers& buffers, Outcome outcome);
  void Close(bool is_final);
  void Deliver(const Buffers& buffers, Outcome& outcome);
  [[nodiscard]] bool HoldsOutput() const { return held_begin_ != held_end_; }

  LzhMatcher matcher_;
  LzhBlockWriter blocks_;
  BitWriter bits_;
  std::array<std::uint8_t, kHeldBytes> held_{};
  std::size_t held_begin_ = 0;
  std::size_t held_end_ = 0;
  bool is_complete_ = false;  // everything is encoded and only has to be delivered
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_ENCODER_H_

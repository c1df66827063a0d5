// Compresses one stream after the other, each with the algorithm that its first call asks for.
//
// A StreamEncoder is what CsCompr (cscompr.h) is for the whole library: the same arguments, checks,
// results and bytes. But it holds all its state in itself, so any number of them may be in use in
// different threads, one thread at a time for each. It allocates its encoder with the first stream
// of each algorithm, at most half a megabyte, and keeps it for the streams after it.
#ifndef MOLDEX_CSCOMPR_STREAM_ENCODER_H_
#define MOLDEX_CSCOMPR_STREAM_ENCODER_H_

#include <cstdint>

#include "cscompr/buffers.h"
#include "cscompr/cscompr.h"
#include "cscompr/lazy_coder.h"

namespace cscompr {

class LzcEncoder;
class LzhEncoder;

// A StreamEncoder without its destructor. The library-wide one is such an object: it lives until
// the process ends, whatever order the process ends in.
class StreamEncoderState {
 public:
  constexpr StreamEncoderState() = default;
  StreamEncoderState(const StreamEncoderState&) = delete;
  StreamEncoderState& operator=(const StreamEncoderState&) = delete;

  // Compresses one piece, as CsCompr does. `option` starts a stream when it holds kCsFirstCall. A
  // first call without memory is refused with kCsNoMemory.
  Outcome Compress(std::int32_t original_length, const Buffers& buffers, std::int32_t option);

  // Frees the encoders. Only a first call may follow.
  void Free();

 private:
  Outcome CompressPiece(std::int32_t original_length, const Buffers& buffers, std::int32_t option);
  Outcome CompressLzc(std::int32_t original_length, const Buffers& buffers, bool first);
  Outcome CompressLzh(std::int32_t original_length, const Buffers& buffers, std::int32_t option);

  LazyCoder<LzhEncoder> lzh_encoder_;
  LazyCoder<LzcEncoder> lzc_encoder_;
  std::int32_t algorithm_ = kCsLzh;
  bool is_compressing_ = false;  // false after a first call that was refused
};

class StreamEncoder : public StreamEncoderState {
 public:
  StreamEncoder() = default;
  ~StreamEncoder() { Free(); }
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_STREAM_ENCODER_H_

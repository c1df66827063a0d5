// Decompresses one stream after the other, each by the algorithm that its header names.
//
// A StreamDecoder is what CsDecompr (cscompr.h) is for the whole library: the same arguments,
// checks, results and bytes. But it holds all its state in itself, so any number of them may be in
// use in different threads, one thread at a time for each. It allocates its decoder with the first
// stream of each algorithm, at most half a megabyte, and keeps it for the streams after it.
#ifndef MOLDEX_CSCOMPR_STREAM_DECODER_H_
#define MOLDEX_CSCOMPR_STREAM_DECODER_H_

#include <cstdint>

#include "cscompr/buffers.h"
#include "cscompr/cscompr.h"
#include "cscompr/lazy_coder.h"

namespace cscompr {

class LzcDecoder;
class LzhDecoder;

// A StreamDecoder without its destructor, for the library-wide one.
class StreamDecoderState {
 public:
  constexpr StreamDecoderState() = default;
  StreamDecoderState(const StreamDecoderState&) = delete;
  StreamDecoderState& operator=(const StreamDecoderState&) = delete;

  // Decompresses one piece, as CsDecompr does. `first` starts a stream. A first call without memory
  // is refused with kCsNoMemory.
  Outcome Decompress(const Buffers& buffers, bool first);

  // Frees the decoders. Only a first call may follow.
  void Free();

 private:
  Outcome DecompressPiece(const Buffers& buffers, bool first);
  Outcome DecompressLzc(const Buffers& buffers, bool first);
  Outcome DecompressLzh(const Buffers& buffers, bool first);

  LazyCoder<LzhDecoder> lzh_decoder_;
  LazyCoder<LzcDecoder> lzc_decoder_;
  std::uint8_t algorithm_ = 0;
  // A first call that is refused ends the stream before it. Later calls return what this one did.
  std::int32_t refusal_ = kCsBadAlgorithm;  // 0 while a stream is in progress
};

class StreamDecoder : public StreamDecoderState {
 public:
  StreamDecoder() = default;
  ~StreamDecoder() { Free(); }
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_STREAM_DECODER_H_

// The checks of the arguments of decompression, and the choice of the algorithm.
#include "cscompr/stream_decoder.h"

#include <algorithm>

#include "cscompr/lzc/decoder.h"
#include "cscompr/lzh/decoder.h"
#include "cscompr/stream_header.h"

namespace cscompr {

Outcome StreamDecoderState::DecompressLzc(const Buffers& buffers, bool first) {
  if (buffers.input == nullptr || buffers.output == nullptr) return {kCsNullBuffer};
  if (buffers.input == buffers.output) return {kCsSameBuffer};
  if (first) return lzc_decoder_.Allocate() ? lzc_decoder_->Start(buffers) : Outcome{kCsNoMemory};
  if (buffers.output_length < 1) return {kCsBadOutput};
  return lzc_decoder_->Resume(buffers);
}

Outcome StreamDecoderState::DecompressLzh(const Buffers& buffers, bool first) {
  if (first) return lzh_decoder_.Allocate() ? lzh_decoder_->Start(buffers) : Outcome{kCsNoMemory};
  if (buffers.input_length == 0 && buffers.output_length == 0) return {kCsNothingToDo};
  return lzh_decoder_->Resume(buffers);
}

Outcome StreamDecoderState::DecompressPiece(const Buffers& buffers, bool first) {
  if (buffers.input_length < (first ? kStreamHeaderBytes : 0)) return {kCsBadInput};
  if (buffers.output_length < 0) return {kCsBadOutput};
  if (HasNullBuffer(buffers)) return {kCsNullBuffer};
  if (first) {
    const auto header = ReadStreamHeader(buffers.input);
    if (!header) return {kCsNotAStream};
    algorithm_ = header->algorithm;
  } else if (refusal_ < 0) {
    return {refusal_};
  }
  switch (algorithm_) {
    case static_cast<std::uint8_t>(Algorithm::kLzc):
      return DecompressLzc(buffers, first);
    case static_cast<std::uint8_t>(Algorithm::kLzh):
      return DecompressLzh(buffers, first);
    default:
      return {kCsBadAlgorithm};
  }
}

Outcome StreamDecoderState::Decompress(const Buffers& buffers, bool first) {
  const Outcome outcome = DecompressPiece(buffers, first);
  if (first) refusal_ = std::min(outcome.code, 0);
  return outcome;
}

void StreamDecoderState::Free() {
  lzh_decoder_.Free();
  lzc_decoder_.Free();
}

}  // namespace cscompr

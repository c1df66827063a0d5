// The checks of the arguments of compression, and the choice of the algorithm.
#include "cscompr/stream_encoder.h"

#include "cscompr/lzc/encoder.h"
#include "cscompr/lzh/encoder.h"
#include "cscompr/stream_header.h"

namespace cscompr {
namespace {

constexpr std::int32_t kDefaultLevel = 2;

std::int32_t LevelOf(std::int32_t option) {
  const std::int32_t level = option >> kCsLevelShift;
  return level >= 1 && level <= 9 ? level : kDefaultLevel;
}

}  // namespace

Outcome StreamEncoderState::CompressLzc(std::int32_t original_length, const Buffers& buffers,
                                        bool first) {
  if (buffers.output_length < 0) return {kCsBadOutput};
  if (buffers.input == nullptr || buffers.output == nullptr) return {kCsNullBuffer};
  if (buffers.input == buffers.output) return {kCsSameBuffer};
  if (!first) return is_compressing_ ? lzc_encoder_->Resume(buffers) : Outcome{kCsBadState};
  if (original_length <= 0) return {kCsBadLength};
  if (buffers.output_length < kStreamHeaderBytes) return {kCsBadOutput};
  if (!lzc_encoder_.Allocate()) return {kCsNoMemory};
  return lzc_encoder_->Start(original_length, buffers);
}

Outcome StreamEncoderState::CompressLzh(std::int32_t original_length, const Buffers& buffers,
                                        std::int32_t option) {
  if (buffers.output_length < 0) return {kCsBadOutput};
  if (HasNullBuffer(buffers)) return {kCsNullBuffer};
  if ((option & kCsFirstCall) == 0) {
    return is_compressing_ ? lzh_encoder_->Resume(buffers) : Outcome{kCsBadState};
  }
  if (buffers.output_length < kStreamHeaderBytes) return {kCsBadOutput};
  if (original_length < 0) return {kCsBadLength};
  if (!lzh_encoder_.Allocate()) return {kCsNoMemory};
  return lzh_encoder_->Start(original_length, LevelOf(option), buffers);
}

Outcome StreamEncoderState::CompressPiece(std::int32_t original_length, const Buffers& buffers,
                                          std::int32_t option) {
  if (buffers.input_length < 0) return {kCsBadInput};
  if ((option & kCsFirstCall) != 0) algorithm_ = option & kCsAlgorithmMask;
  switch (algorithm_) {
    case kCsLzc:
      return CompressLzc(original_length, buffers, (option & kCsFirstCall) != 0);
    case kCsLzh:
      return CompressLzh(original_length, buffers, option);
    default:
      return {kCsBadAlgorithm};
  }
}

Outcome StreamEncoderState::Compress(std::int32_t original_length, const Buffers& buffers,
                                     std::int32_t option) {
  const Outcome outcome = CompressPiece(original_length, buffers, option);
  if ((option & kCsFirstCall) != 0) is_compressing_ = outcome.code >= 0;
  return outcome;
}

void StreamEncoderState::Free() {
  lzh_encoder_.Free();
  lzc_encoder_.Free();
}

}  // namespace cscompr

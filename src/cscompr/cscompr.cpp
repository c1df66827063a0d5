// The front end: checks the arguments, picks the algorithm on a first call, and hands the pieces to
// the one encoder or decoder of each algorithm that the library-wide interface promises.
#include "cscompr/cscompr.h"

#include <algorithm>
#include <cstdlib>
#include <type_traits>

#include "cscompr/buffers.h"
#include "cscompr/lzc/decoder.h"
#include "cscompr/lzc/encoder.h"
#include "cscompr/lzh/decoder.h"
#include "cscompr/lzh/encoder.h"
#include "cscompr/stream_header.h"

namespace cscompr {
namespace {

// An encoder or a decoder, allocated for the first stream that needs it and kept from then on.
// Static data of this size (about 1.3 MB together) would make a system that is short of memory
// refuse to start the program at all, without a message of the program's own.
template <typename Coder>
class LibraryWide {
 public:
  // False when there is no memory.
  bool Allocate() {
    if (coder_ == nullptr) coder_ = static_cast<Coder*>(std::calloc(1, sizeof(Coder)));
    return coder_ != nullptr;
  }

  Coder* operator->() const { return coder_; }

 private:
  // Zero bytes are a valid coder that needs neither construction nor destruction. C programs link
  // this library without the C++ library, so there is no operator new.
  static_assert(std::is_trivially_copyable_v<Coder> && std::is_trivially_destructible_v<Coder>);

  Coder* coder_ = nullptr;
};

LibraryWide<LzhEncoder> lzh_encoder;
LibraryWide<LzcEncoder> lzc_encoder;
LibraryWide<LzhDecoder> lzh_decoder;
LibraryWide<LzcDecoder> lzc_decoder;

std::int32_t compression_algorithm = kCsLzh;
std::uint8_t decompression_algorithm = 0;

// A first call that is refused ends the stream before it. Later calls return what these two say.
bool is_compressing = false;
std::int32_t decompression_refusal = kCsBadAlgorithm;  // 0 while a stream is in progress

constexpr std::int32_t kDefaultLevel = 2;

std::int32_t LevelOf(std::int32_t option) {
  const std::int32_t level = option >> kCsLevelShift;
  return level >= 1 && level <= 9 ? level : kDefaultLevel;
}

// Whether a pointer is null although its length is not 0.
bool HasNullBuffer(const Buffers& buffers) {
  return (buffers.input == nullptr && buffers.input_length > 0) ||
         (buffers.output == nullptr && buffers.output_length > 0);
}

Outcome CompressLzc(std::int32_t original_length, const Buffers& buffers, bool first) {
  if (buffers.output_length < 0) return {kCsBadOutput};
  if (buffers.input == nullptr || buffers.output == nullptr) return {kCsNullBuffer};
  if (buffers.input == buffers.output) return {kCsSameBuffer};
  if (!first) return is_compressing ? lzc_encoder->Resume(buffers) : Outcome{kCsBadState};
  if (original_length <= 0) return {kCsBadLength};
  if (buffers.output_length < kStreamHeaderBytes) return {kCsBadOutput};
  if (!lzc_encoder.Allocate()) return {kCsNoMemory};
  return lzc_encoder->Start(original_length, buffers);
}

Outcome CompressLzh(std::int32_t original_length, const Buffers& buffers, std::int32_t option) {
  if (buffers.output_length < 0) return {kCsBadOutput};
  if (HasNullBuffer(buffers)) return {kCsNullBuffer};
  if ((option & kCsFirstCall) == 0) {
    return is_compressing ? lzh_encoder->Resume(buffers) : Outcome{kCsBadState};
  }
  if (buffers.output_length < kStreamHeaderBytes) return {kCsBadOutput};
  if (original_length < 0) return {kCsBadLength};
  if (!lzh_encoder.Allocate()) return {kCsNoMemory};
  return lzh_encoder->Start(original_length, LevelOf(option), buffers);
}

Outcome CompressPiece(std::int32_t original_length, const Buffers& buffers, std::int32_t option) {
  if (buffers.input_length < 0) return {kCsBadInput};
  if ((option & kCsFirstCall) != 0) compression_algorithm = option & kCsAlgorithmMask;
  switch (compression_algorithm) {
    case kCsLzc:
      return CompressLzc(original_length, buffers, (option & kCsFirstCall) != 0);
    case kCsLzh:
      return CompressLzh(original_length, buffers, option);
    default:
      return {kCsBadAlgorithm};
  }
}

Outcome Compress(std::int32_t original_length, const Buffers& buffers, std::int32_t option) {
  const Outcome outcome = CompressPiece(original_length, buffers, option);
  if ((option & kCsFirstCall) != 0) is_compressing = outcome.code >= 0;
  return outcome;
}

Outcome DecompressLzc(const Buffers& buffers, bool first) {
  if (buffers.input == nullptr || buffers.output == nullptr) return {kCsNullBuffer};
  if (buffers.input == buffers.output) return {kCsSameBuffer};
  if (first) return lzc_decoder.Allocate() ? lzc_decoder->Start(buffers) : Outcome{kCsNoMemory};
  if (buffers.output_length < 1) return {kCsBadOutput};
  return lzc_decoder->Resume(buffers);
}

Outcome DecompressLzh(const Buffers& buffers, bool first) {
  if (first) return lzh_decoder.Allocate() ? lzh_decoder->Start(buffers) : Outcome{kCsNoMemory};
  if (buffers.input_length == 0 && buffers.output_length == 0) return {kCsNothingToDo};
  return lzh_decoder->Resume(buffers);
}

Outcome DecompressPiece(const Buffers& buffers, bool first) {
  if (buffers.input_length < (first ? kStreamHeaderBytes : 0)) return {kCsBadInput};
  if (buffers.output_length < 0) return {kCsBadOutput};
  if (HasNullBuffer(buffers)) return {kCsNullBuffer};
  if (first) {
    const auto header = ReadStreamHeader(buffers.input);
    if (!header) return {kCsNotAStream};
    decompression_algorithm = header->algorithm;
  } else if (decompression_refusal < 0) {
    return {decompression_refusal};
  }
  switch (decompression_algorithm) {
    case static_cast<std::uint8_t>(Algorithm::kLzc):
      return DecompressLzc(buffers, first);
    case static_cast<std::uint8_t>(Algorithm::kLzh):
      return DecompressLzh(buffers, first);
    default:
      return {kCsBadAlgorithm};
  }
}

Outcome Decompress(const Buffers& buffers, bool first) {
  const Outcome outcome = DecompressPiece(buffers, first);
  if (first) decompression_refusal = std::min(outcome.code, 0);
  return outcome;
}

std::int32_t Report(const Outcome& outcome, std::int32_t* bytes_read, std::int32_t* bytes_written) {
  *bytes_read = outcome.bytes_read;
  *bytes_written = outcome.bytes_written;
  return outcome.code;
}

}  // namespace
}  // namespace cscompr

int32_t CsCompr(int32_t original_length, const uint8_t* input, int32_t input_length,
                uint8_t* output, int32_t output_length, int32_t option, int32_t* bytes_read,
                int32_t* bytes_written) {
  const cscompr::Buffers buffers{input, input_length, output, output_length};
  return cscompr::Report(cscompr::Compress(original_length, buffers, option), bytes_read,
                         bytes_written);
}

int32_t CsDecompr(const uint8_t* input, int32_t input_length, uint8_t* output,
                  int32_t output_length, int32_t option, int32_t* bytes_read,
                  int32_t* bytes_written) {
  const cscompr::Buffers buffers{input, input_length, output, output_length};
  return cscompr::Report(cscompr::Decompress(buffers, (option & kCsFirstCall) != 0), bytes_read,
                         bytes_written);
}

int32_t CsCheckHeader(const uint8_t* header) {
  int32_t bytes_read = 0;
  int32_t bytes_written = 0;
  uint8_t unused = 0;  // LZC refuses a null output, even one of length 0
  const int32_t code =
      CsDecompr(header, kCsHeaderBytes, &unused, 0, kCsFirstCall, &bytes_read, &bytes_written);
  return code < 0 ? code : 0;
}

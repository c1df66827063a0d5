// The C interface: one encoder and one decoder for the whole process, and those that callers
// create.
#include "cscompr/cscompr.h"

#include <cstdlib>
#include <new>

#include "cscompr/buffers.h"
#include "cscompr/stream_decoder.h"
#include "cscompr/stream_encoder.h"

namespace cscompr {
namespace {

constinit StreamEncoderState library_encoder;
constinit StreamDecoderState library_decoder;

std::int32_t Report(const Outcome& outcome, std::int32_t* bytes_read, std::int32_t* bytes_written) {
  *bytes_read = outcome.bytes_read;
  *bytes_written = outcome.bytes_written;
  return outcome.code;
}

std::int32_t Compress(StreamEncoderState& encoder, std::int32_t original_length,
                      const Buffers& buffers, std::int32_t option, std::int32_t* bytes_read,
                      std::int32_t* bytes_written) {
  return Report(encoder.Compress(original_length, buffers, option), bytes_read, bytes_written);
}

std::int32_t Decompress(StreamDecoderState& decoder, const Buffers& buffers, std::int32_t option,
                        std::int32_t* bytes_read, std::int32_t* bytes_written) {
  return Report(decoder.Decompress(buffers, (option & kCsFirstCall) != 0), bytes_read,
                bytes_written);
}

// Programs in C link this library without the C++ library, so there is no operator new.
template <typename Object>
Object* Create() {
  void* const memory = std::malloc(sizeof(Object));
  return memory != nullptr ? new (memory) Object : nullptr;
}

template <typename Object>
void Destroy(Object* object) {
  if (object == nullptr) return;
  object->~Object();
  std::free(object);
}

struct ErrorText {
  std::int32_t code;
  const char* text;
};

constexpr ErrorText kErrorTexts[] = {
    {0, "no failure"},
    {kCsEndOfStream, "the stream is complete"},
    {kCsOutputFull, "the output is full"},
    {kCsInputExhausted, "the stream needs more input"},
    {kCsBadOutput, "output length negative, or too small for the header"},
    {kCsBadInput, "input length negative, or too small for the header"},
    {kCsNoMemory, "no memory"},
    {kCsBadLength, "original length negative, or 0 for LZC"},
    {kCsSameBuffer, "input and output are the same buffer"},
    {kCsNullBuffer, "a buffer is null"},
    {kCsBadState, "no stream is in progress"},
    {kCsNothingToDo, "neither input nor space for output"},
    {kCsBadAlgorithm, "the algorithm is neither LZC nor LZH"},
    {kCsBadBlockType, "a block of a type that the stream may not have"},
    {kCsNotAStream, "not a compressed stream"},
    {kCsBadCodeWidth, "the largest code width is not 9 to 14 bits"},
    {kCsOversubscribed, "code lengths that claim more codes than there are"},
    {kCsIncomplete, "code lengths that leave codes unused"},
    {kCsBadCode, "a code without a meaning, or a distance before the start"},
    {kCsBadBlockHeader, "a block header with numbers out of range"},
    {kCsTooLong, "the stream holds more bytes than its header says"},
    {kCsCodeChain, "a code whose string does not end"}};

}  // namespace
}  // namespace cscompr

struct CsEncoder : cscompr::StreamEncoder {};
struct CsDecoder : cscompr::StreamDecoder {};

int32_t CsCompr(int32_t original_length, const uint8_t* input, int32_t input_length,
                uint8_t* output, int32_t output_length, int32_t option, int32_t* bytes_read,
                int32_t* bytes_written) {
  return cscompr::Compress(cscompr::library_encoder, original_length,
                           {input, input_length, output, output_length}, option, bytes_read,
                           bytes_written);
}

int32_t CsDecompr(const uint8_t* input, int32_t input_length, uint8_t* output,
                  int32_t output_length, int32_t option, int32_t* bytes_read,
                  int32_t* bytes_written) {
  return cscompr::Decompress(cscompr::library_decoder, {input, input_length, output, output_length},
                             option, bytes_read, bytes_written);
}

int32_t CsCheckHeader(const uint8_t* header) {
  int32_t bytes_read = 0;
  int32_t bytes_written = 0;
  uint8_t unused = 0;  // LZC refuses a null output, even one of length 0
  const int32_t code =
      CsDecompr(header, kCsHeaderBytes, &unused, 0, kCsFirstCall, &bytes_read, &bytes_written);
  return code < 0 ? code : 0;
}

const char* CsErrorText(int32_t code) {
  for (const auto& [known, text] : cscompr::kErrorTexts) {
    if (known == code) return text;
  }
  return "no result of this library";
}

CsEncoder* CsCreateEncoder() { return cscompr::Create<CsEncoder>(); }

int32_t CsEncode(CsEncoder* encoder, int32_t original_length, const uint8_t* input,
                 int32_t input_length, uint8_t* output, int32_t output_length, int32_t option,
                 int32_t* bytes_read, int32_t* bytes_written) {
  return cscompr::Compress(*encoder, original_length, {input, input_length, output, output_length},
                           option, bytes_read, bytes_written);
}

void CsDestroyEncoder(CsEncoder* encoder) { cscompr::Destroy(encoder); }

CsDecoder* CsCreateDecoder() { return cscompr::Create<CsDecoder>(); }

int32_t CsDecode(CsDecoder* decoder, const uint8_t* input, int32_t input_length, uint8_t* output,
                 int32_t output_length, int32_t option, int32_t* bytes_read,
                 int32_t* bytes_written) {
  return cscompr::Decompress(*decoder, {input, input_length, output, output_length}, option,
                             bytes_read, bytes_written);
}

void CsDestroyDecoder(CsDecoder* decoder) { cscompr::Destroy(decoder); }

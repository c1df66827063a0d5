// The library-wide interface: one encoder and one decoder for the whole process.
#include "cscompr/cscompr.h"

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

}  // namespace
}  // namespace cscompr

int32_t CsCompr(int32_t original_length, const uint8_t* input, int32_t input_length,
                uint8_t* output, int32_t output_length, int32_t option, int32_t* bytes_read,
                int32_t* bytes_written) {
  const cscompr::Buffers buffers{input, input_length, output, output_length};
  return cscompr::Report(cscompr::library_encoder.Compress(original_length, buffers, option),
                         bytes_read, bytes_written);
}

int32_t CsDecompr(const uint8_t* input, int32_t input_length, uint8_t* output,
                  int32_t output_length, int32_t option, int32_t* bytes_read,
                  int32_t* bytes_written) {
  const cscompr::Buffers buffers{input, input_length, output, output_length};
  return cscompr::Report(cscompr::library_decoder.Decompress(buffers, (option & kCsFirstCall) != 0),
                         bytes_read, bytes_written);
}

int32_t CsCheckHeader(const uint8_t* header) {
  int32_t bytes_read = 0;
  int32_t bytes_written = 0;
  uint8_t unused = 0;  // LZC refuses a null output, even one of length 0
  const int32_t code =
      CsDecompr(header, kCsHeaderBytes, &unused, 0, kCsFirstCall, &bytes_read, &bytes_written);
  return code < 0 ? code : 0;
}

// The two buffers of one call and its outcome, as the front end, the encoders and the decoders pass
// them to one another.
#ifndef MOLDEX_CSCOMPR_BUFFERS_H_
#define MOLDEX_CSCOMPR_BUFFERS_H_

#include <cstdint>

namespace cscompr {

// The buffers that the caller offers. Lengths are in bytes and not negative. A pointer may be null
// when its length is 0.
struct Buffers {
  const std::uint8_t* input = nullptr;
  std::int32_t input_length = 0;
  std::uint8_t* output = nullptr;
  std::int32_t output_length = 0;
};

// Whether a pointer is null although its length is not 0.
inline bool HasNullBuffer(const Buffers& buffers) {
  return (buffers.input == nullptr && buffers.input_length > 0) ||
         (buffers.output == nullptr && buffers.output_length > 0);
}

// A CsResult, and how many bytes of the buffers were used.
struct Outcome {
  std::int32_t code = 0;
  std::int32_t bytes_read = 0;
  std::int32_t bytes_written = 0;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_BUFFERS_H_

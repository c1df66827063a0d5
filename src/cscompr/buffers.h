// The two buffers of one call, and what came of it: the small change that the front end, the
// encoders and the decoders of the library hand to one another.
#ifndef MOLDEX_CSCOMPR_BUFFERS_H_
#define MOLDEX_CSCOMPR_BUFFERS_H_

#include <cstdint>

namespace cscompr {

// What the caller of the library offers. Lengths in bytes, not negative; a pointer may be null
// when its length is 0.
struct Buffers {
  const std::uint8_t* input = nullptr;
  std::int32_t input_length = 0;
  std::uint8_t* output = nullptr;
  std::int32_t output_length = 0;
};

// A CsResult, and the bytes of the buffers that were used.
struct Outcome {
  std::int32_t code = 0;
  std::int32_t bytes_read = 0;
  std::int32_t bytes_written = 0;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_BUFFERS_H_

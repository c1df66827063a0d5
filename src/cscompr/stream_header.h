// The 8 bytes that begin every compressed stream: original length (4 bytes, little-endian),
// version and algorithm (high nibble 1, low nibble the algorithm), the magic 1F 9D, and a byte
// for the algorithm (LZH: the level; LZC: block mode and largest code width).
#ifndef MOLDEX_CSCOMPR_STREAM_HEADER_H_
#define MOLDEX_CSCOMPR_STREAM_HEADER_H_

#include <cstdint>
#include <optional>

namespace cscompr {

inline constexpr std::int32_t kStreamHeaderBytes = 8;

enum class Algorithm : std::uint8_t { kLzc = 1, kLzh = 2 };

struct StreamHeader {
  std::uint32_t original_length = 0;
  std::uint8_t algorithm = 0;  // the low nibble of byte 4; the version nibble is not checked
  std::uint8_t parameter = 0;
};

// Writes 8 bytes.
void WriteStreamHeader(std::uint32_t original_length, Algorithm algorithm, std::uint8_t parameter,
                       std::uint8_t* output);

// Reads 8 bytes; empty when the magic is wrong.
std::optional<StreamHeader> ReadStreamHeader(const std::uint8_t* input);

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_STREAM_HEADER_H_

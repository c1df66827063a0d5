#include "cscompr/stream_header.h"

namespace cscompr {
namespace {

constexpr std::uint8_t kMagic0 = 0x1F;
constexpr std::uint8_t kMagic1 = 0x9D;
constexpr std::uint8_t kVersion = 0x10;

}  // namespace

void WriteStreamHeader(std::uint32_t original_length, Algorithm algorithm, std::uint8_t parameter,
                       std::uint8_t* output) {
  for (int i = 0; i < 4; ++i) {
    output[i] = static_cast<std::uint8_t>(original_length >> (8 * i));
  }
  output[4] = static_cast<std::uint8_t>(kVersion | static_cast<std::uint8_t>(algorithm));
  output[5] = kMagic0;
  output[6] = kMagic1;
  output[7] = parameter;
}

std::optional<StreamHeader> ReadStreamHeader(const std::uint8_t* input) {
  if (input[5] != kMagic0 || input[6] != kMagic1) return std::nullopt;
  StreamHeader header;
  for (int i = 0; i < 4; ++i) {
    header.original_length |= static_cast<std::uint32_t>(input[i]) << (8 * i);
  }
  header.algorithm = input[4] & 0x0F;
  header.parameter = input[7];
  return header;
}

}  // namespace cscompr

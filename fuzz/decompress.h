// Decompresses a stream in pieces, checking on the way what every call promises.
#ifndef MOLDEX_FUZZ_DECOMPRESS_H_
#define MOLDEX_FUZZ_DECOMPRESS_H_

#include <cstdint>
#include <span>

#include "fuzz/pieces.h"

namespace moldex::fuzz {

struct Decompressed {
  Bytes bytes;
  std::int32_t code = 0;  // of the last call
};

// More than this and Decompress stops.
inline constexpr std::size_t kMostOutput = std::size_t{1} << 20;

// Ends with the stream, with its input, at a fault, or beyond kMostOutput bytes.
Decompressed Decompress(std::span<const std::uint8_t> stream, Pieces pieces);

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_DECOMPRESS_H_

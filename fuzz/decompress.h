// Decompresses a stream in pieces, and checks the promises of every call.
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

// Decompress stops after more than this many bytes.
inline constexpr std::size_t kMostOutput = std::size_t{1} << 20;

// Ends at the end of the stream or of its input, at a fault, or after kMostOutput bytes.
Decompressed Decompress(std::span<const std::uint8_t> stream, Pieces pieces);

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_DECOMPRESS_H_

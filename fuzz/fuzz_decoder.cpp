// Any bytes as a compressed stream: safe, and the same result however the calls are cut.
#include <cstdlib>

#include "cscompr/cscompr.h"
#include "fuzz/decompress.h"

using moldex::fuzz::Decompress;
using moldex::fuzz::Decompressed;
using moldex::fuzz::Pieces;

// Two bytes that cut the calls, then the stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::span stream(data + 2, size - 2);
  const Decompressed whole = Decompress(stream, Pieces());
  const Decompressed cut = Decompress(stream, Pieces(data));
  const bool ended = std::max(whole.bytes.size(), cut.bytes.size()) <= moldex::fuzz::kMostOutput;
  if (ended && (whole.code != cut.code || whole.bytes != cut.bytes)) std::abort();
  return 0;
}

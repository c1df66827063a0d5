// Any bytes as a compressed stream: decoding is safe, and its result does not depend on how the
// calls are cut.
#include "cscompr/cscompr.h"
#include "fuzz/decompress.h"
#include "fuzz/target.h"

using moldex::fuzz::Decompress;
using moldex::fuzz::Decompressed;
using moldex::fuzz::Pieces;

// Two bytes that cut the calls, then the stream.
void moldex::fuzz::TryInput(ByteSpan input) {
  if (input.size() < 2) return;
  const ByteSpan stream = input.subspan(2);
  const Decompressed whole = Decompress(stream, Pieces());
  const Decompressed cut = Decompress(stream, Pieces(input.data()));
  const bool ended = std::max(whole.bytes.size(), cut.bytes.size()) <= moldex::fuzz::kMostOutput;
  if (ended) Require(whole.code == cut.code && whole.bytes == cut.bytes);
}

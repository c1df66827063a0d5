// Any content through every algorithm and level, in pieces of any size, and back.
#include "cscompr/cscompr.h"
#include "fuzz/decompress.h"
#include "fuzz/target.h"

namespace {

using moldex::fuzz::Bytes;
using moldex::fuzz::Copy;
using moldex::fuzz::Pieces;

Bytes Compress(std::span<const std::uint8_t> content, std::int32_t option, Pieces pieces) {
  const auto length = static_cast<std::int32_t>(content.size());
  Bytes stream;
  std::int32_t code = 0;
  for (option |= kCsFirstCall; code != kCsEndOfStream; option &= ~kCsFirstCall) {
    const Bytes input = Copy(content.first(pieces.Next(0, content.size())));
    Bytes output(pieces.Next(kCsHeaderBytes, 65536));
    std::int32_t read = 0;
    std::int32_t written = 0;
    code = CsCompr(length, input.data(), static_cast<std::int32_t>(input.size()), output.data(),
                   static_cast<std::int32_t>(output.size()), option, &read, &written);
    moldex::fuzz::Require(code > 0);
    stream.insert(stream.end(), output.begin(), output.begin() + written);
    content = content.subspan(static_cast<std::size_t>(read));
  }
  return stream;
}

}  // namespace

// Two bytes that cut the calls, one for algorithm and level, one that repeats the content, then the
// content.
void moldex::fuzz::TryInput(ByteSpan input) {
  if (input.size() < 5) return;
  const std::int32_t option =
      input[2] % 10 == 0 ? kCsLzc : kCsLzh | (input[2] % 10) << kCsLevelShift;
  Bytes content;
  for (int i = 0; i <= input[3] % 64 && content.size() < 200'000; ++i) {
    content.insert(content.end(), input.begin() + 4, input.end());
    content.push_back(static_cast<std::uint8_t>(i));
  }
  AllowFor(3 * content.size());
  const Pieces pieces(input.data());
  const Bytes stream = Compress(content, option, pieces);
  Require(stream == Compress(content, option, Pieces()));
  const auto restored = moldex::fuzz::Decompress(stream, pieces);
  Require(restored.code == kCsEndOfStream && restored.bytes == content);
}

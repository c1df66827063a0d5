#include "fuzz/decompress.h"

#include "cscompr/cscompr.h"
#include "fuzz/target.h"

namespace moldex::fuzz {
namespace {

constexpr std::size_t kLargestPiece = 65536;

}  // namespace

Decompressed Decompress(std::span<const std::uint8_t> stream, Pieces pieces) {
  Decompressed result;
  std::int32_t option = kCsFirstCall;
  std::size_t offered = std::min<std::size_t>(kCsHeaderBytes, stream.size());
  offered = pieces.Next(offered, std::min(stream.size(), kLargestPiece));
  do {
    const Bytes input = Copy(stream.first(offered));
    Bytes output(pieces.Next(1, kLargestPiece));
    std::int32_t read = -1;
    std::int32_t written = -1;
    result.code = CsDecompr(input.data(), static_cast<std::int32_t>(input.size()), output.data(),
                            static_cast<std::int32_t>(output.size()), option, &read, &written);
    option = 0;
    Require(read >= 0 && static_cast<std::size_t>(read) <= input.size());
    Require(written >= 0 && static_cast<std::size_t>(written) <= output.size());
    result.bytes.insert(result.bytes.end(), output.begin(), output.begin() + written);
    stream = stream.subspan(static_cast<std::size_t>(read));
    if (result.code == kCsInputExhausted) {
      Require(static_cast<std::size_t>(read) == input.size());
      if (stream.empty()) break;
    } else if (result.code == kCsOutputFull) {
      Require(static_cast<std::size_t>(written) == output.size());
    }
    offered = pieces.Next(1, std::min(stream.size(), kLargestPiece));
  } while (result.code > kCsEndOfStream && result.bytes.size() <= kMostOutput);
  return result;
}

}  // namespace moldex::fuzz

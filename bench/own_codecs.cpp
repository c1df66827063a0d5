#include "archive/checksum.h"
#include "codecs.h"
#include "cscompr/cscompr.h"

namespace moldex::bench {
namespace {

// `call` is CsCompr or CsDecompr, with the arguments that both have.
template <typename Call>
void RunStream(Bytes input, std::int32_t option, Sink& sink, Call call) {
  option |= kCsFirstCall;
  RunInPieces(input, sink, [&](Bytes piece, Room room, bool) {
    std::int32_t read = 0;
    std::int32_t written = 0;
    const auto code =
        call(piece.data(), static_cast<std::int32_t>(piece.size()), room.data(),
             static_cast<std::int32_t>(room.size()), std::exchange(option, 0), &read, &written);
    if (code < 0) throw std::runtime_error("cscompr fails");
    return Step{static_cast<std::size_t>(read), static_cast<std::size_t>(written),
                code == kCsEndOfStream};
  });
}

}  // namespace

void CsCompress(Bytes input, std::int32_t option, Sink& sink) {
  const auto length = static_cast<std::int32_t>(input.size());
  RunStream(input, option, sink, [length](auto... rest) { return CsCompr(length, rest...); });
}

void CsDecompress(Bytes stream, Sink& sink) { RunStream(stream, 0, sink, CsDecompr); }

std::uint32_t ArchiveChecksum(Bytes input) {
  std::uint32_t checksum = 0;
  ForEachPiece(input, [&](Bytes piece) { checksum = UpdateChecksum(checksum, piece); });
  return checksum;
}

}  // namespace moldex::bench

// Content with repeats, zeros and noise that an input describes, compressed in pieces and as a
// whole. Its pieces are short, so that there are many borders.
#include <memory>

#include "cscompr/lzh/piece_coder.h"
#include "cscompr/lzh/piece_joiner.h"
#include "cscompr/lzh/piece_matcher.h"
#include "cscompr/stream_encoder.h"
#include "fuzz/pieces.h"
#include "fuzz/target.h"

namespace {

using moldex::fuzz::Bytes;
using namespace cscompr;

constexpr std::size_t kMostContent = 200'000;

Bytes AsAWhole(const Bytes& content, int level) {
  StreamEncoder encoder;
  Bytes stream(content.size() * 2 + 100);
  const auto length = static_cast<std::int32_t>(content.size());
  const Outcome outcome = encoder.Compress(
      length, {content.data(), length, stream.data(), static_cast<std::int32_t>(stream.size())},
      kCsFirstCall | kCsLzh | level << kCsLevelShift);
  moldex::fuzz::Require(outcome.code == kCsEndOfStream);
  stream.resize(static_cast<std::size_t>(outcome.bytes_written));
  return stream;
}

Bytes InPieces(const Bytes& content, int level, std::uint32_t piece_bytes) {
  const auto matcher = std::make_unique<LzhPieceMatcher>();
  const auto joiner = std::make_unique<LzhPieceJoiner>();
  std::vector<LzhToken> tokens(LzhTokenRoom(piece_bytes));
  Bytes bits(LzhCodedRoom(piece_bytes));
  LzhPiece piece;
  LzhCodedPiece coded;
  piece.room = tokens;
  coded.room = bits;
  const LzhStream stream{level, static_cast<std::uint32_t>(content.size())};
  joiner->Start(stream);
  Bytes made;
  for (std::uint32_t begin = 0; begin == 0 || begin < stream.length; begin += piece_bytes) {
    const Bytes bytes(content.begin() + begin,
                      content.begin() + std::min(begin + piece_bytes, stream.length));
    const Bytes history(content.begin() + begin - (begin > 0 ? kLzhHistoryBytes : 0),
                        content.begin() + begin);
    const LzhPieceInput input{stream, begin, history, bytes, joiner->TokenBegin()};
    matcher->Match(input, piece);
    joiner->Join(input, *matcher, piece);
    CodePiece(piece, coded);
    const auto joined = joiner->Append(coded);
    made.insert(made.end(), joined.begin(), joined.end());
  }
  return made;
}

// Every five bytes are a kind, a distance or a number, and a length; literals follow theirs.
Bytes Described(moldex::fuzz::ByteSpan input) {
  Bytes content;
  while (input.size() >= 5 && content.size() < kMostContent) {
    const unsigned kind = input[0] % 4;
    const std::size_t distance = 1 + input[1] + 256U * input[2];
    std::size_t length = std::size_t{input[3] + 1U} << input[4] % 9;
    std::minstd_rand random(static_cast<unsigned>(distance));
    input = input.subspan(5);
    if (kind == 0) length = std::min<std::size_t>(length % 64, input.size());
    for (std::size_t i = 0; i < length; ++i) {
      const auto noise = static_cast<std::uint8_t>(random() >> 7);
      const std::size_t size = content.size();
      content.push_back(kind == 0                      ? input[i]
                        : kind == 1                    ? noise
                        : kind == 2 || distance > size ? 0
                                                       : content[size - distance]);
    }
    if (kind == 0) input = input.subspan(length);
  }
  return content;
}

}  // namespace

// The level, the length of pieces, then the content's description.
void moldex::fuzz::TryInput(ByteSpan input) {
  if (input.size() < 2) return;
  const Bytes content = Described(input.subspan(2));
  const int level = 1 + input[0] % 9;
  AllowFor(3 * content.size());
  Require(InPieces(content, level, (1U + input[1] % 6) * kLzhStepBytes) ==
          AsAWhole(content, level));
}

// A piece of an LZH stream, for callers that compress one stream with several threads. The output
// is that of LzhEncoder, bit for bit.
//
// A stream is cut into pieces of equal length. Each takes four steps, two of them on any thread:
//
//   1. On any thread, LzhPieceMatcher::Match makes its tokens from its bytes and those before it.
//   2. For one piece after the other, LzhPieceJoiner::Join makes sure that these are the tokens of
//      the whole stream, corrects them if not, and decides where blocks end.
//   3. On any thread, CodePiece codes the blocks that end in the piece.
//   4. For one piece after the other, LzhPieceJoiner::Append puts the bits together.
//
// The second and the last step take very little time. All memory is the caller's; nothing is
// allocated. The front end of cscompr.h does not use these classes.
#ifndef MOLDEX_CSCOMPR_LZH_PIECE_H_
#define MOLDEX_CSCOMPR_LZH_PIECE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cscompr/lzh/block_border.h"
#include "cscompr/lzh/matcher.h"
#include "cscompr/lzh/token.h"
#include "cscompr/stream_header.h"

namespace cscompr {

// Every piece but the last one has a multiple of this many bytes.
inline constexpr std::uint32_t kLzhStepBytes = LzhMatcher::kHalfWindow;
inline constexpr std::uint32_t kMostLzhSteps = 32;
inline constexpr std::uint32_t kMostLzhPieceBytes = kMostLzhSteps * kLzhStepBytes;

// The bytes before a piece that its matching needs. The first piece has none.
inline constexpr std::uint32_t kLzhHistoryBytes = LzhMatcher::kHalfWindow;

struct LzhStream {
  int level = 2;             // 1 to 9
  std::uint32_t length = 0;  // up to 2^31 - 1
};

struct LzhPieceInput {
  LzhStream stream;
  std::uint32_t begin = 0;                // of the piece in the stream
  std::span<const std::uint8_t> history;  // the kLzhHistoryBytes before it, or none
  std::span<const std::uint8_t> bytes;    // of the piece; the last piece may be of any length

  // Where a token is known to begin: what LzhPieceJoiner::TokenBegin returned last. In a long run
  // of zeros, or of any repeated string, matchers agree only if it is given. Any other value
  // changes nothing but the time.
  std::uint32_t token_begin = 0;

  [[nodiscard]] bool IsLast() const { return begin + bytes.size() == stream.length; }
};

// The tokens of a piece, and the blocks that they form. The memory at `room` is the caller's, with
// space for LzhTokenRoom(length of the piece) tokens; it need not be initialised. The object may be
// used for any pieces in turn.
//
// Its tokens do not end exactly where its bytes do, but those that can be decided with the bytes up
// to its end and not before.
struct LzhPiece {
  // What the matcher has done when it knows the bytes up to the end of a step.
  struct Step {
    LzhPlace place;
    std::uint32_t token_count = 0;  // of the piece, up to there
  };

  // The most tokens of a block that began in the piece before.
  static constexpr std::size_t kMostCarried = LzhTokens::kCapacity - 1;
  static constexpr std::size_t kMostBlocks =
      (kMostCarried + kMostLzhPieceBytes + LzhMatcher::kMinLookahead) /
          LzhBlockBorder::kJudgingInterval +
      1;

  std::span<LzhToken> room;

  // From kMostCarried on, the piece's own tokens.
  std::uint32_t size = 0;
  std::uint32_t step_count = 0;
  std::array<Step, kMostLzhSteps + 1> steps{};  // the first one is the begin of the piece

  // Directly before them, those of the open block. Set by Join, as is all that follows.
  std::uint32_t carried = 0;
  std::uint32_t block_count = 0;
  std::array<std::uint16_t, kMostBlocks> block_sizes{};  // in tokens; any others stay open
  bool is_last = false;

  [[nodiscard]] std::span<const LzhToken> Tokens() const {
    return room.subspan(kMostCarried - carried, carried + size);
  }
};

// The length of LzhPiece::room. A correction moves tokens apart by up to the lookahead.
constexpr std::size_t LzhTokenRoom(std::uint32_t piece_bytes) {
  return LzhPiece::kMostCarried + piece_bytes + 2 * LzhMatcher::kMinLookahead;
}

// The blocks that end in a piece, as bits. The memory at `room` is the caller's, with
// LzhCodedRoom(length of the piece) bytes; it need not be initialised.
struct LzhCodedPiece {
  // The bits follow this many bytes, which Append fills if it is the first piece.
  static constexpr std::size_t kFront = kStreamHeaderBytes;

  std::span<std::uint8_t> room;
  std::uint32_t step_count = 0;
  bool is_last = false;
  std::array<std::uint32_t, kMostLzhSteps> bits_after_step{};  // of the blocks that end by then
  // Set by Append: how many of the bytes that it returns LzhEncoder would have delivered by then.
  std::array<std::uint32_t, kMostLzhSteps> bytes_after_step{};
};

// The length of LzhCodedPiece::room. In fixed codes a literal takes 9 bits and a match, of at least
// three bytes, up to 30, and no block is longer than it would be in fixed codes.
constexpr std::size_t LzhCodedRoom(std::uint32_t piece_bytes) {
  const std::size_t own_bits = (piece_bytes + LzhMatcher::kMinLookahead) * std::size_t{10};
  const std::size_t carried_bits = LzhPiece::kMostCarried * 30;
  const std::size_t blocks = (LzhTokens::kCapacity + piece_bytes + LzhMatcher::kMinLookahead) /
                                 LzhBlockBorder::kJudgingInterval +
                             2;
  return (own_bits + carried_bits) / 8 + blocks * 4 + 32;
}

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_PIECE_H_

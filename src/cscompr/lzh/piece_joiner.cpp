#include "cscompr/lzh/piece_joiner.h"

#include <algorithm>

#include "cscompr/stream_header.h"
#include "cscompr/wide_access.h"

namespace cscompr {
namespace {

// Shifts `count` bytes up by fewer than 8 bits, in place; `low` takes the place of the lowest.
// Words are read and written up to 8 bytes after the end.
void ShiftUp(std::uint8_t* bytes, std::size_t count, unsigned shift, std::uint64_t low) {
  if (shift == 0) return;
  for (std::size_t i = 0; i < count; i += 8) {
    const std::uint64_t word = Load64(bytes + i);
    Store64(bytes + i, word << shift | low);
    low = word >> (64 - shift);
  }
}

}  // namespace

void LzhPieceJoiner::Start(const LzhStream& stream) {
  stream_ = stream;
  place_ = {};
  border_.Reset(stream.level >= 3);
  border_.Open();
  open_size_ = 0;
  is_first_ = true;
  held_ = 0;
  held_bits_ = 0;
}

std::uint32_t LzhPieceJoiner::Join(const LzhPieceInput& input, LzhPieceMatcher& matcher,
                                   LzhPiece& piece) {
  std::uint32_t corrected = 0;
  if (piece.steps[0].place != place_) corrected = matcher.Correct(input, place_, piece);
  place_ = piece.steps[piece.step_count].place;
  piece.is_last = input.IsLast();
  CutBlocks(piece);
  return corrected;
}

// As LzhEncoder does with the tokens one by one. A literal for the last byte of the stream belongs
// to the block that is open, though it may fill it.
void LzhPieceJoiner::CutBlocks(LzhPiece& piece) {
  std::copy_n(open_block_.data(), open_size_,
              piece.room.data() + LzhPiece::kMostCarried - open_size_);
  piece.carried = open_size_;
  piece.block_count = 0;
  std::span<const LzhToken> open = piece.Tokens();
  while (open.size() >= border_.stop()) {
    const bool is_end = piece.is_last && open.size() == border_.stop();
    if (is_end && IsLiteralToken(open.back())) break;
    const auto block = open.first(border_.stop());
    if (!border_.EndsAfter(block)) continue;
    piece.block_sizes[piece.block_count++] = static_cast<std::uint16_t>(block.size());
    open = open.subspan(block.size());
    border_.Open();
  }
  if (piece.is_last) {
    piece.block_sizes[piece.block_count++] = static_cast<std::uint16_t>(open.size());
    return;
  }
  std::copy(open.begin(), open.end(), open_block_.begin());
  open_size_ = static_cast<std::uint32_t>(open.size());
}

std::span<const std::uint8_t> LzhPieceJoiner::Append(LzhCodedPiece& coded) {
  constexpr std::size_t kFront = LzhCodedPiece::kFront;
  std::uint8_t* const bits = coded.room.data() + kFront;
  const std::size_t bit_count = held_bits_ + coded.bits_after_step[coded.step_count - 1];
  ShiftUp(bits, bit_count / 8 + 1, held_bits_, held_);

  const std::uint32_t front = is_first_ ? kFront : 0;
  if (is_first_) {
    WriteStreamHeader(stream_.length, Algorithm::kLzh, static_cast<std::uint8_t>(stream_.level),
                      coded.room.data());
  }
  is_first_ = false;
  for (std::uint32_t i = 0; i < coded.step_count; ++i)
    coded.bytes_after_step[i] = front + (held_bits_ + coded.bits_after_step[i]) / 8;
  std::size_t size = bit_count / 8;
  if (coded.is_last) {
    size += bit_count % 8 != 0 ? 1 : 0;
    bits[size++] = 0;
    coded.bytes_after_step[coded.step_count - 1] = static_cast<std::uint32_t>(front + size);
  } else {
    held_bits_ = bit_count % 8;
    held_ = bits[size];
  }
  return coded.room.subspan(kFront - front, front + size);
}

}  // namespace cscompr

// The loop in which every codec that works in pieces is measured, this library and its peers alike:
// input and output come in pieces of 64 KiB, as the archiver calls its codec.
#ifndef MOLDEX_BENCH_PIECES_H_
#define MOLDEX_BENCH_PIECES_H_

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

namespace moldex::bench {

inline constexpr std::size_t kPieceBytes = 65536;

using Bytes = std::span<const std::uint8_t>;
using Room = std::span<std::uint8_t>;

// Receives the output of a codec. Counts it, and drops it unless it is to be kept.
class Sink {
 public:
  explicit Sink(std::vector<std::uint8_t>* kept = nullptr) : kept_(kept) {}

  Room room() { return room_; }
  // Adds the first `length` bytes of room().
  void Add(std::size_t length) {
    total_bytes_ += length;
    if (kept_ != nullptr) kept_->insert(kept_->end(), room_.data(), room_.data() + length);
  }
  [[nodiscard]] std::size_t total_bytes() const { return total_bytes_; }

 private:
  std::array<std::uint8_t, kPieceBytes> room_;
  std::vector<std::uint8_t>* kept_;
  std::size_t total_bytes_ = 0;
};

// The effect of one call of a codec.
struct Step {
  std::size_t read_bytes = 0;
  std::size_t written_bytes = 0;
  bool ended = false;
};

// Passes `input` to `call`, a Step(Bytes piece, Room room, bool last_piece), until the stream ends.
// Throws when it never does.
template <typename Call>
void RunInPieces(Bytes input, Sink& sink, Call call) {
  Bytes piece;
  Step step;
  while (!step.ended) {
    if (piece.empty()) {
      piece = input.first(std::min(input.size(), kPieceBytes));
      input = input.subspan(piece.size());
    }
    step = call(piece, sink.room(), input.empty());
    if (!step.ended && step.read_bytes + step.written_bytes == 0 && input.empty()) {
      throw std::runtime_error("a codec makes no progress");
    }
    piece = piece.subspan(step.read_bytes);
    sink.Add(step.written_bytes);
  }
}

// Calls `visit` for each piece.
template <typename Visit>
void ForEachPiece(Bytes input, Visit visit) {
  while (!input.empty()) {
    const std::size_t length = std::min(input.size(), kPieceBytes);
    visit(input.first(length));
    input = input.subspan(length);
  }
}

}  // namespace moldex::bench

#endif  // MOLDEX_BENCH_PIECES_H_

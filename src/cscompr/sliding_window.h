// The last 16 KB that a decoder delivered, kept for matches that reach behind the output of the
// present call. A ring: a call appends what it produced once, at its end.
#ifndef MOLDEX_CSCOMPR_SLIDING_WINDOW_H_
#define MOLDEX_CSCOMPR_SLIDING_WINDOW_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace cscompr {

class SlidingWindow {
 public:
  static constexpr std::size_t kBytes = 16384;
  // Copies of whole words may read (never use) this much behind the end of the ring.
  static constexpr std::size_t kReadAhead = 32;

  void Reset() { position_ = size_ = 0; }
  std::size_t size() const { return size_; }

  // Bytes from `distance` (1 to size()) back up to the newest or the end of the ring, whichever
  // comes first: at least one.
  struct Stretch {
    const std::uint8_t* bytes;
    std::size_t length;
  };
  Stretch Back(std::size_t distance) const {
    const std::size_t start = (position_ - distance) & (kBytes - 1);
    return {ring_.data() + start, std::min(distance, kBytes - start)};
  }

  void Append(const std::uint8_t* bytes, std::size_t length) {
    if (length == 0) return;  // the pointer may be null
    if (length > kBytes) {
      bytes += length - kBytes;
      length = kBytes;
    }
    const std::size_t first = std::min(length, kBytes - position_);
    std::memcpy(ring_.data() + position_, bytes, first);
    std::memcpy(ring_.data(), bytes + first, length - first);
    position_ = (position_ + length) & (kBytes - 1);
    size_ = std::min(size_ + length, kBytes);
  }

 private:
  std::size_t position_ = 0;  // where the next byte goes
  std::size_t size_ = 0;
  std::array<std::uint8_t, kBytes + kReadAhead> ring_{};
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_SLIDING_WINDOW_H_

// The last 16 KB that a decoder delivered, for matches that begin before the output of the current
// call. A call appends its output once, at its end.
//
// The bytes are contiguous, the newest at end()[-1], so that a match is copied from here as from
// the output itself. When the buffer of twice their size is full, they are moved to its front,
// which costs no more than appending them did.
#ifndef MOLDEX_CSCOMPR_LZH_SLIDING_WINDOW_H_
#define MOLDEX_CSCOMPR_LZH_SLIDING_WINDOW_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace cscompr {

class SlidingWindow {
 public:
  static constexpr std::size_t kBytes = 16384;
  // Copies of whole words may read this much beyond end(), but never use it.
  static constexpr std::size_t kReadAhead = 32;

  void Reset() { fill_ = 0; }
  std::size_t size() const { return std::min(fill_, kBytes); }
  const std::uint8_t* end() const { return buffer_.data() + fill_; }

  void Append(const std::uint8_t* bytes, std::size_t length) {
    if (length == 0) return;  // the pointer may be null
    if (length >= kBytes) {
      fill_ = 0;
      bytes += length - kBytes;
      length = kBytes;
    } else if (fill_ + length > 2 * kBytes) {
      std::memmove(buffer_.data(), end() - kBytes, kBytes);
      fill_ = kBytes;
    }
    std::memcpy(buffer_.data() + fill_, bytes, length);
    fill_ += length;
  }

 private:
  std::size_t fill_ = 0;
  std::array<std::uint8_t, 2 * kBytes + kReadAhead> buffer_{};
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_SLIDING_WINDOW_H_

// Packs bits into bytes, least significant bit first. It is a small value: a loop copies it into a
// local, writes, and stores the copy back.
#ifndef MOLDEX_CSCOMPR_BIT_WRITER_H_
#define MOLDEX_CSCOMPR_BIT_WRITER_H_

#include <cstdint>

#include "cscompr/wide_access.h"

namespace cscompr {

class BitWriter {
 public:
  // Store() writes whole words, so this many bytes after the last one written must be writable.
  static constexpr int kSlackBytes = 8;

  // After a Store() at most 7 bits are held, so this many may be added before the next one.
  static constexpr int kBitsBetweenStores = 56;

  void MoveTo(std::uint8_t* next) { next_ = next; }
  [[nodiscard]] std::uint8_t* Next() const { return next_; }

  // The number of bits that are added but not stored.
  [[nodiscard]] unsigned HeldBits() const { return bit_count_; }

  // Adds the `count` lowest bits of `value`; the others must be 0.
  void Add(std::uint64_t value, unsigned count) {
    bits_ |= value << bit_count_;
    bit_count_ += count;
  }

  // Stores the whole bytes.
  void Store() {
    Store64(next_, bits_);
    next_ += bit_count_ / 8;
    bits_ >>= bit_count_ & ~7U;
    bit_count_ &= 7U;
  }

  // Stores everything, and fills the last byte with zero bits.
  void StoreAll() {
    Store();
    if (bit_count_ > 0) *next_++ = static_cast<std::uint8_t>(bits_);
    bits_ = 0;
    bit_count_ = 0;
  }

 private:
  std::uint8_t* next_ = nullptr;
  std::uint64_t bits_ = 0;
  unsigned bit_count_ = 0;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_BIT_WRITER_H_

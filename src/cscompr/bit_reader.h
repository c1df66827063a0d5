// Reads a stream's bits, least significant bit of each byte first, through a buffer of 64 bits.
// Both decoders use it. It is a small value: a hot loop works on a local copy, so that it stays in
// registers, and stores the copy back at its end.
//
// The lowest `count` bits of `bits` are valid. The bits above them are either zeros or the ones
// that follow in the input at `next`. So a fill can OR in a byte that is there in part already, and
// needs neither a branch nor a mask. Trim() clears them. Code that keeps a reader from one call to
// the next calls it first.
#ifndef MOLDEX_CSCOMPR_BIT_READER_H_
#define MOLDEX_CSCOMPR_BIT_READER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cscompr/wide_access.h"

namespace cscompr {

// The lowest `number` bits.
constexpr std::uint64_t LowBits(std::uint64_t bits, unsigned number) {
  return bits & ((std::uint64_t{1} << number) - 1);
}

struct BitReader {
  // After a fill at least this many bits are valid unless the input has ended.
  static constexpr unsigned kFilledBits = 56;
  static constexpr std::ptrdiff_t kWideLoadBytes = 8;
  static constexpr unsigned kCountMask = 63;  // `count` is less than 64

  std::uint64_t bits = 0;
  unsigned count = 0;
  const std::uint8_t* next = nullptr;
  const std::uint8_t* end = nullptr;

  // Fills with one load and without a branch. Needs kWideLoadBytes of input and takes at most 7 of
  // them. Only the lowest 6 bits of `count` are looked at.
  void FillWide() {
    bits |= Load64(next) << (count & kCountMask);
    next += (~count >> 3) & 7;  // (63 - count) / 8
    count |= kFilledBits;
  }

  // Fills as far as the input goes.
  void Fill() {
    if (end - next >= kWideLoadBytes) {
      FillWide();
      return;
    }
    while (count < kFilledBits && next != end) {
      bits |= static_cast<std::uint64_t>(*next++) << count;
      count += 8;
    }
  }

  [[nodiscard]] std::uint64_t Peek(unsigned number) const { return LowBits(bits, number); }

  void Skip(unsigned number) {
    bits >>= number;
    count -= number;
  }

  // Skips as many bits as the lowest 6 bits of `packed` say. The bits above those may hold
  // anything: they are not masked off, and spoil the bits of `count` above its lowest 6 until
  // RestoreCount().
  void SkipPacked(std::uint32_t packed) {
    bits >>= packed & kCountMask;
    count -= packed;
  }

  void RestoreCount() { count &= kCountMask; }

  // Returns the next `number` bits, which must be valid, and skips them.
  unsigned Take(unsigned number) {
    const auto value = static_cast<unsigned>(Peek(number));
    Skip(number);
    return value;
  }

  void Trim() { bits = Peek(count); }

  // Drops bytes that were loaded from beyond `end`.
  void DropBeyondEnd() {
    if (next <= end) return;
    count -= 8 * static_cast<unsigned>(next - end);
    next = end;
    Trim();
  }

  // Returns whole bytes that nothing was decoded from to the input, which began at `begin`.
  void GiveBack(const std::uint8_t* begin) {
    const auto bytes = std::min<std::ptrdiff_t>(count / 8, next - begin);
    next -= bytes;
    count -= static_cast<unsigned>(bytes) * 8;
    Trim();
  }
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_BIT_READER_H_

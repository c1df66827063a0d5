// The bit stream seen by the decoder: a 64-bit buffer over the bytes of one call's input, least
// significant bit first. A small value; the hot loop keeps a copy of it in registers.
//
// `bits` holds `count` valid bits. Above them stand either zeros or the bits that the stream goes
// on with, so that adding a byte twice does no harm; Trim() clears them.
#ifndef MOLDEX_CSCOMPR_BIT_READER_H_
#define MOLDEX_CSCOMPR_BIT_READER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cscompr/wide_access.h"

namespace cscompr {

struct BitReader {
  // After a fill at least this many bits are valid unless the input has ended.
  static constexpr unsigned kFilledBits = 56;
  static constexpr std::ptrdiff_t kWideLoadBytes = 8;

  std::uint64_t bits = 0;
  unsigned count = 0;
  const std::uint8_t* next = nullptr;
  const std::uint8_t* end = nullptr;

  // One load without a branch. Needs kWideLoadBytes of input, takes at most 7 of them.
  void FillWide() {
    bits |= Load64(next) << count;
    next += (63 - count) >> 3;
    count |= kFilledBits;
  }

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

  void Skip(unsigned number) {
    bits >>= number;
    count -= number;
  }

  // Takes `number` bits, which must be there.
  unsigned Take(unsigned number) {
    const auto value = static_cast<unsigned>(bits & ((std::uint64_t{1} << number) - 1));
    Skip(number);
    return value;
  }

  void Trim() { bits &= (std::uint64_t{1} << count) - 1; }

  // Forgets bytes that were loaded behind `end`.
  void DropBehindEnd() {
    if (next <= end) return;
    count -= 8 * static_cast<unsigned>(next - end);
    next = end;
    Trim();
  }

  // Hands whole bytes that nothing was decoded from back to an input that began at `begin`.
  void GiveBack(const std::uint8_t* begin) {
    const auto bytes = std::min<std::ptrdiff_t>(count / 8, next - begin);
    next -= bytes;
    count -= static_cast<unsigned>(bytes) * 8;
    Trim();
  }
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_BIT_READER_H_

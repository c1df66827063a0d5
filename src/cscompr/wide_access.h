// Loads and stores of 4 and 8 bytes at any address, little-endian whatever the machine. Each is one
// instruction where the machine can do it.
#ifndef MOLDEX_CSCOMPR_WIDE_ACCESS_H_
#define MOLDEX_CSCOMPR_WIDE_ACCESS_H_

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace cscompr {

template <std::unsigned_integral Word>
constexpr Word SwapUnlessLittleEndian(Word value) {
  if constexpr (std::endian::native == std::endian::little) {
    return value;
  } else {
    Word swapped = 0;
    for (unsigned i = 0; i < sizeof(Word); ++i) {
      swapped = static_cast<Word>((swapped << 8) | ((value >> (8 * i)) & 0xFF));
    }
    return swapped;
  }
}

template <std::unsigned_integral Word>
Word LoadWord(const std::uint8_t* from) {
  Word value = 0;
  std::memcpy(&value, from, sizeof value);
  return SwapUnlessLittleEndian(value);
}

inline std::uint32_t Load32(const std::uint8_t* from) { return LoadWord<std::uint32_t>(from); }
inline std::uint64_t Load64(const std::uint8_t* from) { return LoadWord<std::uint64_t>(from); }

inline void Store64(std::uint8_t* to, std::uint64_t value) {
  const std::uint64_t stored = SwapUnlessLittleEndian(value);
  std::memcpy(to, &stored, sizeof stored);
}

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_WIDE_ACCESS_H_

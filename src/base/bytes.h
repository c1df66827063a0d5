// Little-endian integers in byte buffers, whatever the host's byte order.
#ifndef MOLDEX_BASE_BYTES_H_
#define MOLDEX_BASE_BYTES_H_

#include <cstdint>

namespace moldex {

inline void PutU16(std::uint8_t* to, std::uint16_t value) {
  to[0] = static_cast<std::uint8_t>(value);
  to[1] = static_cast<std::uint8_t>(value >> 8);
}

inline void PutU32(std::uint8_t* to, std::uint32_t value) {
  PutU16(to, static_cast<std::uint16_t>(value));
  PutU16(to + 2, static_cast<std::uint16_t>(value >> 16));
}

inline void PutU64(std::uint8_t* to, std::uint64_t value) {
  PutU32(to, static_cast<std::uint32_t>(value));
  PutU32(to + 4, static_cast<std::uint32_t>(value >> 32));
}

inline std::uint16_t GetU16(const std::uint8_t* from) {
  return static_cast<std::uint16_t>(from[0] | from[1] << 8);
}

inline std::uint32_t GetU32(const std::uint8_t* from) {
  return static_cast<std::uint32_t>(GetU16(from)) | static_cast<std::uint32_t>(GetU16(from + 2))
                                                        << 16;
}

inline std::uint64_t GetU64(const std::uint8_t* from) {
  return static_cast<std::uint64_t>(GetU32(from)) | static_cast<std::uint64_t>(GetU32(from + 4))
                                                        << 32;
}

}  // namespace moldex

#endif  // MOLDEX_BASE_BYTES_H_

// The LZC format, for encoder and decoder: the code stream of the Unix compress utility after the
// 8-byte stream header.
//
// LZW (T. Welch, "A Technique for High-Performance Data Compression", 1984) replaces strings by
// codes. Encoder and decoder begin with a table of all single bytes. The encoder writes the code of
// the longest string of its table that the input begins with, and adds that string and the next
// byte to the table as a new string. The decoder adds the same string as soon as it knows that
// byte, so the table is never sent. The clear code empties the table.
//
// Codes are written least significant bit first and are 9 bits wide at the start. Codes of one
// width come in groups of 8, so that a group has as many bytes as its codes have bits. When the
// width changes, and after a clear code, the current group is filled up to its full size. At the
// end of the stream it is cut off after the last byte that holds a code.
//
// The width grows once the next free code is one more than the largest code of that width: after
// 256 codes of 9 bits, 512 of 10, and so on. The code written at that moment still has the old
// width.
#ifndef MOLDEX_CSCOMPR_LZC_FORMAT_H_
#define MOLDEX_CSCOMPR_LZC_FORMAT_H_

#include <cstdint>

namespace cscompr {

inline constexpr unsigned kLzcMinWidth = 9;     // bits of the first codes
inline constexpr unsigned kLzcWriteWidth = 13;  // largest width of the streams we write
inline constexpr unsigned kLzcReadWidth = 14;   // largest width of the streams we read

// The last byte of the stream header: the largest width, and whether code 256 clears the table.
inline constexpr unsigned kLzcWidthMask = 0x1F;
inline constexpr unsigned kLzcBlockMode = 0x80;

inline constexpr std::uint32_t kLzcLiterals = 256;  // the codes below are single bytes
inline constexpr std::uint32_t kLzcClear = 256;
inline constexpr std::uint32_t kLzcFirstFree = 257;  // without block mode, 256

inline constexpr unsigned kLzcGroupCodes = 8;

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_FORMAT_H_

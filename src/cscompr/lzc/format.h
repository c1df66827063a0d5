// What both directions of LZC agree on: the code stream of the Unix compress utility (T. Welch, "A
// Technique for High-Performance Data Compression", 1984) behind the 8-byte stream header.
//
// Codes stand least significant bit first, 9 bits wide at the start. Codes of one width come in
// groups of 8, so that a group is as many bytes long as its codes are bits wide. When the width
// changes, and behind a clear code, the group in progress is filled up to its full size; at the
// stream's end it is cut behind the last byte that holds a code.
//
// The width grows behind the code that was written while the next free code was one more than the
// largest that the width can hold: behind 256 codes of 9 bits, 512 of 10, and so on. The code that
// is written then is one that the old width still holds.
#ifndef MOLDEX_CSCOMPR_LZC_FORMAT_H_
#define MOLDEX_CSCOMPR_LZC_FORMAT_H_

#include <cstdint>

namespace cscompr {

inline constexpr unsigned kLzcMinWidth = 9;     // bits of the first codes
inline constexpr unsigned kLzcWriteWidth = 13;  // largest width of the streams we write
inline constexpr unsigned kLzcReadWidth = 14;   // largest width of the streams we read

// Stream header, last byte: the largest width, and whether code 256 clears the table.
inline constexpr unsigned kLzcWidthMask = 0x1F;
inline constexpr unsigned kLzcBlockMode = 0x80;

inline constexpr std::uint32_t kLzcLiterals = 256;  // codes below stand for one byte each
inline constexpr std::uint32_t kLzcClear = 256;
inline constexpr std::uint32_t kLzcFirstFree = 257;  // without block mode, 256

inline constexpr unsigned kLzcGroupCodes = 8;

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_FORMAT_H_

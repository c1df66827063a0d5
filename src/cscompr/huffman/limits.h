// The largest Huffman code of RFC 1951, which bounds the arrays of encoder and decoder.
#ifndef MOLDEX_CSCOMPR_HUFFMAN_LIMITS_H_
#define MOLDEX_CSCOMPR_HUFFMAN_LIMITS_H_

namespace cscompr {

inline constexpr int kMaxSymbols = 288;  // of an alphabet
inline constexpr int kMaxCodeBits = 15;

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_HUFFMAN_LIMITS_H_

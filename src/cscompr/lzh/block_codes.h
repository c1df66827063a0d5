// The Huffman codes that a block can be sent with: the fixed ones, and those made for the block.
// Here are the cost of a block in each of them, and the description of a block's own codes that
// precedes a dynamic block (RFC 1951, section 3.2.7).
#ifndef MOLDEX_CSCOMPR_LZH_BLOCK_CODES_H_
#define MOLDEX_CSCOMPR_LZH_BLOCK_CODES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cscompr/bit_writer.h"
#include "cscompr/lzh/deflate_format.h"
#include "cscompr/lzh/token.h"

namespace cscompr {

// The number of times each symbol occurs in a block, its end of block included.
struct BlockFrequencies {
  std::array<std::uint32_t, kLiteralLengthCodes> literal_lengths{};
  std::array<std::uint32_t, kDistanceCodes> distances{};
};

struct BlockCodeLengths {
  // The fixed code has two codes more than the alphabet has symbols.
  std::array<std::uint8_t, kFixedLiteralLengthCodes> literal_lengths{};
  std::array<std::uint8_t, kDistanceCodes> distances{};
};

// Index: match length - kMinMatch. Value: symbol - kFirstLengthSymbol.
extern const std::array<std::uint8_t, kMaxMatch - kMinMatch + 1> kLengthSymbols;

BlockCodeLengths DynamicLengths(const BlockFrequencies& frequencies);
extern const BlockCodeLengths kFixedLengths;

// The bits of all symbols of a block with their extra bits, without the block header.
std::size_t CostInBits(const BlockFrequencies& frequencies, const BlockCodeLengths& lengths);

// The description of a block's code lengths, itself run-length and Huffman coded.
class CodeDescription {
 public:
  explicit CodeDescription(const BlockCodeLengths& block);

  [[nodiscard]] std::size_t CostInBits() const;
  void Write(BitWriter& output) const;

 private:
  struct Item {
    std::uint8_t symbol = 0;
    std::uint8_t extra = 0;
  };

  void AddRuns(std::span<const std::uint8_t> lengths);
  void AddRun(std::uint8_t length, std::size_t times);
  void Add(int symbol, std::size_t extra);

  std::size_t literal_length_count_ = 0;
  std::size_t distance_count_ = 0;
  std::size_t sent_lengths_ = 0;  // of the code length code, in the order of kCodeLengthOrder
  std::array<Item, kLiteralLengthCodes + kDistanceCodes> items_{};
  std::size_t item_count_ = 0;
  std::array<std::uint32_t, kCodeLengthCodes> frequencies_{};
  std::array<std::uint8_t, kCodeLengthCodes> lengths_{};
};

// A block's codes, laid out for sending tokens: a row holds the code and, for lengths, the extra
// bits above it.
struct TokenCodes {
  void Write(std::span<const LzhToken> tokens, BitWriter& output) const;

  std::array<std::uint32_t, kTokenRows> rows{};          // bits << 8 | their count
  std::array<std::uint32_t, kDistanceRows> distances{};  // code << 16 | code bits << 8 | all bits
  std::uint32_t end_code = 0;
  std::uint32_t end_bits = 0;
};

TokenCodes TokenCodesOf(const BlockCodeLengths& lengths);
// Those of kFixedLengths, which most short blocks are sent with.
extern const TokenCodes kFixedTokenCodes;

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_BLOCK_CODES_H_

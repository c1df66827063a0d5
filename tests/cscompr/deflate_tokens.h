// Takes a stream of RFC 1951 apart into its blocks and symbols. Slow and plain on purpose: it is
// what tests compare two encoders with, so it shares no table and no loop with either.
#ifndef MOLDEX_TESTS_CSCOMPR_DEFLATE_TOKENS_H_
#define MOLDEX_TESTS_CSCOMPR_DEFLATE_TOKENS_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cscompr::test {

struct Token {
  int length = 0;  // 0: a literal
  int value = 0;   // the literal, or the match distance

  friend bool operator==(const Token&, const Token&) = default;
};

struct Block {
  int type = 0;
  std::vector<Token> tokens;  // those of a stored block are its bytes as literals
};

struct TokenStream {
  std::vector<Block> blocks;
  std::size_t bytes_used = 0;  // up to the byte in which the final block ends

  [[nodiscard]] std::vector<Token> Tokens() const;
  [[nodiscard]] bool HasStoredBlock() const;
};

// Throws std::runtime_error when the stream is malformed or cut.
TokenStream ParseDeflate(std::span<const std::uint8_t> stream);

}  // namespace cscompr::test

#endif  // MOLDEX_TESTS_CSCOMPR_DEFLATE_TOKENS_H_

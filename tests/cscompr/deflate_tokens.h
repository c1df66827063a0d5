// Takes a stream of RFC 1951 apart into its blocks and symbols. Plain on purpose: it is what tests
// compare two encoders with, so it shares no table and no loop with either.
#ifndef MOLDEX_TESTS_CSCOMPR_DEFLATE_TOKENS_H_
#define MOLDEX_TESTS_CSCOMPR_DEFLATE_TOKENS_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <utility>
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

// Throws std::runtime_error when the stream is malformed or cut.
class TokenStream {
 public:
  explicit TokenStream(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
    for (bool is_final = false; !is_final;) {
      is_final = Bits(1) == 1;
      blocks.push_back({Bits(2), {}});
      Require(blocks.back().type != 3, "block type 3");
      if (blocks.back().type == 0) ReadStored();
      if (blocks.back().type == 1) ReadSymbols(FixedLengths(), 288);
      if (blocks.back().type == 2) ReadDynamic();
    }
  }

  std::vector<Token> Tokens() const {
    std::vector<Token> all;
    for (const Block& block : blocks)
      all.insert(all.end(), block.tokens.begin(), block.tokens.end());
    return all;
  }
  bool HasStoredBlock() const {
    return std::ranges::any_of(blocks, [](const Block& block) { return block.type == 0; });
  }
  // Up to the byte in which the final block ends.
  std::size_t BytesUsed() const { return (position_ + 7) / 8; }

  std::vector<Block> blocks;

 private:
  // A code of given lengths: its symbols in order, and how many there are of each length.
  struct Codes {
    explicit Codes(std::span<const int> lengths) {
      int space = 0;
      for (std::size_t bits = 1; bits < counts.size(); ++bits) {
        for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol)
          if (lengths[symbol] == static_cast<int>(bits))
            symbols.push_back(static_cast<int>(symbol));
        counts[bits] = static_cast<int>(std::ranges::count(lengths, static_cast<int>(bits)));
        space += counts[bits] << (15 - bits);
      }
      Require(space <= 1 << 15, "too many codes");
    }
    std::vector<int> symbols;
    std::array<int, 16> counts{};
  };

  static void Require(bool condition, const char* complaint) {
    if (!condition) throw std::runtime_error(complaint);
  }

  int Bits(int count) {
    int value = 0;
    for (int i = 0; i < count; ++i, ++position_) {
      Require(position_ / 8 < bytes_.size(), "stream is cut");
      value |= (bytes_[position_ / 8] >> (position_ % 8) & 1) << i;
    }
    return value;
  }
  std::size_t Count(int bits, std::size_t base) {
    return base + static_cast<std::size_t>(Bits(bits));
  }

  // The codes of one length follow those that begin with a shorter one.
  int Symbol(const Codes& codes) {
    int code = 0;  // from the first code of its length on
    std::size_t shorter = 0;
    for (const int count : std::span(codes.counts).subspan(1)) {
      code += Bits(1);
      if (code < count) return codes.symbols[shorter + static_cast<std::size_t>(code)];
      shorter += static_cast<std::size_t>(count);
      code = (code - count) * 2;
    }
    throw std::runtime_error("no such code");
  }

  // A length or distance: every symbol stands for as many values as its extra bits tell apart.
  int Value(int first, int symbol, int symbols_per_step) {
    const auto extra_bits = [=](int s) { return std::max(0, s / symbols_per_step - 1); };
    for (int earlier = 0; earlier < symbol; ++earlier)
      first += 1 << extra_bits(earlier);
    return first + Bits(extra_bits(symbol));
  }

  static std::vector<int> FixedLengths() {
    std::vector<int> lengths(288 + 30, 8);
    std::fill(lengths.begin() + 144, lengths.begin() + 256, 9);
    std::fill(lengths.begin() + 256, lengths.begin() + 280, 7);
    std::fill(lengths.begin() + 288, lengths.end(), 5);
    return lengths;
  }

  void ReadDynamic() {
    static constexpr std::array<std::size_t, 19> kOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                           11, 4,  12, 3, 13, 2, 14, 1, 15};
    const auto literals = Count(5, 257);
    const std::size_t all = literals + Count(5, 1);
    std::array<int, 19> description{};
    for (const std::size_t symbol : std::span(kOrder).first(Count(4, 4)))
      description[symbol] = Bits(3);
    const Codes codes(description);
    std::vector<int> lengths;
    while (lengths.size() < all) {
      const int symbol = Symbol(codes);
      if (symbol < 16) lengths.push_back(symbol);
      if (symbol == 16)
        lengths.insert(lengths.end(), Count(2, 3), int{lengths.at(lengths.size() - 1)});
      if (symbol == 17) lengths.resize(lengths.size() + Count(3, 3));
      if (symbol == 18) lengths.resize(lengths.size() + Count(7, 11));
    }
    Require(lengths.size() == all, "code lengths run over");
    ReadSymbols(lengths, literals);
  }

  void ReadSymbols(std::span<const int> lengths, std::size_t literals) {
    const Codes literal_codes(lengths.first(literals));
    const Codes distance_codes(lengths.subspan(literals));
    for (int symbol = Symbol(literal_codes); symbol != 256; symbol = Symbol(literal_codes)) {
      Token token{0, symbol};
      if (symbol > 256) {
        token.length = symbol == 285 ? 258 : Value(3, symbol - 257, 4);
        token.value = Value(1, Symbol(distance_codes), 2);
      }
      blocks.back().tokens.push_back(token);
    }
  }

  void ReadStored() {
    position_ = BytesUsed() * 8;
    const int length = Bits(16);
    Bits(16);
    for (int i = 0; i < length; ++i)
      blocks.back().tokens.push_back({0, Bits(8)});
  }

  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

}  // namespace cscompr::test

#endif  // MOLDEX_TESTS_CSCOMPR_DEFLATE_TOKENS_H_

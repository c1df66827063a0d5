#include "cscompr/deflate_tokens.h"

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>
#include <utility>

namespace cscompr::test {
namespace {

constexpr std::array kLengthBases = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                     15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                     67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr std::array kDistanceBases = {
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr std::array kOrder = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

class BitReader {
 public:
  explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  int Bits(int count) {
    int value = 0;
    for (int i = 0; i < count; ++i)
      value |= Bit() << i;
    return value;
  }
  int Bit() {
    if (position_ / 8 >= bytes_.size()) throw std::runtime_error("stream is cut");
    const int bit = bytes_[position_ / 8] >> (position_ % 8) & 1;
    ++position_;
    return bit;
  }
  std::size_t Count(int bits, std::size_t base) {
    return base + static_cast<std::size_t>(Bits(bits));
  }
  void SkipToByte() { position_ = BytesUsed() * 8; }
  [[nodiscard]] std::size_t BytesUsed() const { return (position_ + 7) / 8; }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

class Codes {
 public:
  explicit Codes(std::span<const int> lengths) {
    int code = 0;
    for (int bits = 1; bits <= 15; ++bits, code <<= 1) {
      for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        if (lengths[symbol] == bits) symbols_[{bits, code++}] = static_cast<int>(symbol);
      }
      if (code > 1 << bits) throw std::runtime_error("too many codes");
    }
  }
  int Read(BitReader& in) const {
    int code = 0;
    for (int bits = 1; bits <= 15; ++bits) {
      code = code << 1 | in.Bit();
      if (const auto found = symbols_.find({bits, code}); found != symbols_.end()) {
        return found->second;
      }
    }
    throw std::runtime_error("no such code");
  }

 private:
  std::map<std::pair<int, int>, int> symbols_;
};

std::pair<Codes, Codes> FixedCodes() {
  std::vector<int> lengths(288, 8);
  std::fill(lengths.begin() + 144, lengths.begin() + 256, 9);
  std::fill(lengths.begin() + 256, lengths.begin() + 280, 7);
  return {Codes(lengths), Codes(std::vector<int>(30, 5))};
}

std::pair<Codes, Codes> DynamicCodes(BitReader& in) {
  const auto literal_lengths = in.Count(5, 257);
  const std::size_t all = literal_lengths + in.Count(5, 1);
  const auto sent = in.Count(4, 4);
  std::array<int, 19> description{};
  for (std::size_t i = 0; i < sent; ++i)
    description[static_cast<std::size_t>(kOrder[i])] = in.Bits(3);
  const Codes codes(description);
  std::vector<int> lengths;
  while (lengths.size() < all) {
    const int symbol = codes.Read(in);
    if (symbol < 16) lengths.push_back(symbol);
    if (symbol == 16)
      lengths.insert(lengths.end(), in.Count(2, 3), int{lengths.at(lengths.size() - 1)});
    if (symbol == 17) lengths.resize(lengths.size() + in.Count(3, 3));
    if (symbol == 18) lengths.resize(lengths.size() + in.Count(7, 11));
  }
  if (lengths.size() != all) throw std::runtime_error("code lengths run over");
  const std::span<const int> split(lengths);
  return {Codes(split.first(literal_lengths)), Codes(split.subspan(literal_lengths))};
}

int WithExtraBits(std::span<const int> bases, int symbol, int symbols_per_step, BitReader& in) {
  const int extra = symbol < 2 * symbols_per_step ? 0 : symbol / symbols_per_step - 1;
  return bases[static_cast<std::size_t>(symbol)] + in.Bits(extra);
}

void ReadSymbols(const std::pair<Codes, Codes>& codes, BitReader& in, std::vector<Token>& tokens) {
  for (;;) {
    const int symbol = codes.first.Read(in);
    if (symbol == 256) return;
    if (symbol < 256) {
      tokens.push_back({0, symbol});
      continue;
    }
    const int length = symbol == 285 ? 258 : WithExtraBits(kLengthBases, symbol - 257, 4, in);
    tokens.push_back({length, WithExtraBits(kDistanceBases, codes.second.Read(in), 2, in)});
  }
}

void ReadStored(BitReader& in, std::vector<Token>& tokens) {
  in.SkipToByte();
  const int length = in.Bits(16);
  in.Bits(16);
  for (int i = 0; i < length; ++i)
    tokens.push_back({0, in.Bits(8)});
}

}  // namespace

std::vector<Token> TokenStream::Tokens() const {
  std::vector<Token> all;
  for (const Block& block : blocks)
    all.insert(all.end(), block.tokens.begin(), block.tokens.end());
  return all;
}

bool TokenStream::HasStoredBlock() const {
  return std::any_of(blocks.begin(), blocks.end(), [](const Block& b) { return b.type == 0; });
}

TokenStream ParseDeflate(std::span<const std::uint8_t> stream) {
  BitReader in(stream);
  TokenStream parsed;
  for (bool is_final = false; !is_final;) {
    is_final = in.Bit() == 1;
    Block block{in.Bits(2), {}};
    if (block.type == 3) throw std::runtime_error("block type 3");
    if (block.type == 0) ReadStored(in, block.tokens);
    if (block.type == 1) ReadSymbols(FixedCodes(), in, block.tokens);
    if (block.type == 2) ReadSymbols(DynamicCodes(in), in, block.tokens);
    parsed.blocks.push_back(std::move(block));
  }
  parsed.bytes_used = in.BytesUsed();
  return parsed;
}

}  // namespace cscompr::test

#include "cscompr/lzh/block_codes.h"

#include <algorithm>

#include "cscompr/huffman/codes.h"

namespace cscompr {
namespace {

constexpr std::array<std::uint8_t, kMaxMatch - kMinMatch + 1> MakeLengthSymbols() {
  std::array<std::uint8_t, kMaxMatch - kMinMatch + 1> symbols{};
  std::uint8_t symbol = 0;
  for (std::size_t i = 0; i < symbols.size(); ++i) {
    if (symbol + 1 < kLengthCodes && i + kMinMatch >= kLengthRanges[symbol + 1U].base) ++symbol;
    symbols[i] = symbol;
  }
  return symbols;
}

// Extra bits of the code length symbols from kRepeatPrevious on.
constexpr std::array<std::uint8_t, 3> kRepeatExtraBits = {2, 3, 7};

constexpr unsigned ExtraBitsOf(int code_length_symbol) {
  return code_length_symbol < kRepeatPrevious
             ? 0U
             : kRepeatExtraBits[static_cast<std::size_t>(code_length_symbol - kRepeatPrevious)];
}

// The number of lengths that are sent: all up to the last one that is not 0.
std::size_t UsedCount(std::span<const std::uint8_t> lengths, std::size_t least) {
  std::size_t count = lengths.size();
  while (count > least && lengths[count - 1] == 0)
    --count;
  return count;
}

constexpr BlockCodeLengths MakeFixedLengths() {
  BlockCodeLengths lengths;
  lengths.literal_lengths = kFixedLiteralLengths;
  lengths.distances.fill(kFixedDistanceBits);
  return lengths;
}

}  // namespace

constexpr std::array<std::uint8_t, kMaxMatch - kMinMatch + 1> kLengthSymbols = MakeLengthSymbols();
constexpr BlockCodeLengths kFixedLengths = MakeFixedLengths();

BlockCodeLengths DynamicLengths(const BlockFrequencies& frequencies) {
  BlockCodeLengths lengths;
  BuildCodeLengths(frequencies.literal_lengths, kMaxCodeBits,
                   std::span(lengths.literal_lengths).first(kLiteralLengthCodes));
  BuildCodeLengths(frequencies.distances, kMaxCodeBits, lengths.distances);
  return lengths;
}

std::size_t CostInBits(const BlockFrequencies& frequencies, const BlockCodeLengths& lengths) {
  std::size_t bits = 0;
  for (std::size_t i = 0; i < frequencies.literal_lengths.size(); ++i) {
    bits += std::size_t{frequencies.literal_lengths[i]} * lengths.literal_lengths[i];
  }
  for (std::size_t i = 0; i < kLengthRanges.size(); ++i) {
    bits += std::size_t{frequencies.literal_lengths[kFirstLengthSymbol + i]} *
            kLengthRanges[i].extra_bits;
  }
  for (std::size_t i = 0; i < frequencies.distances.size(); ++i) {
    bits += std::size_t{frequencies.distances[i]} *
            (lengths.distances[i] + std::size_t{kDistanceRanges[i].extra_bits});
  }
  return bits;
}

CodeDescription::CodeDescription(const BlockCodeLengths& block)
    : literal_length_count_(UsedCount(block.literal_lengths, kEndOfBlock + 1)),
      distance_count_(UsedCount(block.distances, 1)) {
  AddRuns(std::span(block.literal_lengths).first(literal_length_count_));
  AddRuns(std::span(block.distances).first(distance_count_));
  BuildCodeLengths(frequencies_, kMaxCodeLengthCodeBits, lengths_);
  sent_lengths_ = kCodeLengthCodes;
  while (sent_lengths_ > 4 && lengths_[kCodeLengthOrder[sent_lengths_ - 1]] == 0)
    --sent_lengths_;
}

void CodeDescription::AddRuns(std::span<const std::uint8_t> lengths) {
  for (std::size_t begin = 0, end = 0; begin < lengths.size(); begin = end) {
    while (end < lengths.size() && lengths[end] == lengths[begin])
      ++end;
    AddRun(lengths[begin], end - begin);
  }
}

void CodeDescription::AddRun(std::uint8_t length, std::size_t times) {
  if (length == 0) {
    for (; times >= 11; times -= std::min<std::size_t>(times, 138)) {
      Add(kRepeatZeroLong, std::min<std::size_t>(times, 138) - 11);
    }
    if (times >= 3) {
      Add(kRepeatZeroShort, times - 3);
      times = 0;
    }
  } else {
    Add(length, 0);
    --times;
    for (; times >= 3; times -= std::min<std::size_t>(times, 6)) {
      Add(kRepeatPrevious, std::min<std::size_t>(times, 6) - 3);
    }
  }
  for (; times > 0; --times)
    Add(length, 0);
}

void CodeDescription::Add(int symbol, std::size_t extra) {
  items_[item_count_++] = {static_cast<std::uint8_t>(symbol), static_cast<std::uint8_t>(extra)};
  ++frequencies_[static_cast<std::size_t>(symbol)];
}

std::size_t CodeDescription::CostInBits() const {
  std::size_t bits = 5 + 5 + 4 + 3 * sent_lengths_;
  for (std::size_t i = 0; i < frequencies_.size(); ++i) {
    bits += frequencies_[i] * (lengths_[i] + std::size_t{ExtraBitsOf(static_cast<int>(i))});
  }
  return bits;
}

void CodeDescription::Write(BitWriter& output) const {
  output.Add(literal_length_count_ - (kEndOfBlock + 1), 5);
  output.Add(distance_count_ - 1, 5);
  output.Add(sent_lengths_ - 4, 4);
  for (std::size_t i = 0; i < sent_lengths_; ++i) {
    output.Add(lengths_[kCodeLengthOrder[i]], 3);
    output.Store();
  }
  std::array<std::uint16_t, kCodeLengthCodes> codes{};
  BuildCodes(lengths_, codes);
  for (std::size_t i = 0; i < item_count_; ++i) {
    const Item item = items_[i];
    output.Add(codes[item.symbol], lengths_[item.symbol]);
    output.Add(item.extra, ExtraBitsOf(item.symbol));
    output.Store();
  }
}

namespace {

constexpr TokenCodes MakeTokenCodes(const BlockCodeLengths& lengths) {
  TokenCodes made;
  std::array<std::uint16_t, kFixedLiteralLengthCodes> codes{};
  BuildCodes(lengths.literal_lengths, codes);
  for (std::size_t i = 0; i < kLiteralCount; ++i) {
    made.rows[i] = (std::uint32_t{codes[i]} << 8) | lengths.literal_lengths[i];
  }
  for (std::size_t i = 0; i < kLengthSymbols.size(); ++i) {
    const std::size_t range = kLengthSymbols[i];
    const std::size_t symbol = kFirstLengthSymbol + range;
    const std::uint32_t code_bits = lengths.literal_lengths[symbol];
    const auto extra = static_cast<std::uint32_t>(i + kMinMatch - kLengthRanges[range].base);
    made.rows[kFirstLengthRow + i] = ((codes[symbol] | (extra << code_bits)) << 8) |
                                     (code_bits + kLengthRanges[range].extra_bits);
  }
  made.end_code = codes[kEndOfBlock];
  made.end_bits = lengths.literal_lengths[kEndOfBlock];

  std::array<std::uint16_t, kDistanceCodes> distance_codes{};
  BuildCodes(lengths.distances, distance_codes);
  for (std::size_t i = 0; i < distance_codes.size(); ++i) {
    const std::uint32_t code_bits = lengths.distances[i];
    made.distances[i] = (std::uint32_t{distance_codes[i]} << 16) | (code_bits << 8) |
                        (code_bits + kDistanceRanges[i].extra_bits);
  }
  return made;
}

}  // namespace

constexpr TokenCodes kFixedTokenCodes = MakeTokenCodes(kFixedLengths);

TokenCodes TokenCodesOf(const BlockCodeLengths& lengths) { return MakeTokenCodes(lengths); }

// A token takes at most 15 + 5 + 15 + 13 bits, so one store per token is enough.
void TokenCodes::Write(std::span<const LzhToken> tokens, BitWriter& output) const {
  static_assert(2 * kMaxCodeBits + 5 + 13 <= BitWriter::kBitsBetweenStores);
  BitWriter out = output;
  for (const LzhToken token : tokens) {
    const std::uint32_t row = rows[TokenRow(token)];
    out.Add(row >> 8, row & 0xFF);
    const std::uint32_t distance = distances[TokenDistanceSymbol(token)];
    const std::uint64_t extra = TokenDistanceExtra(token);
    out.Add((distance >> 16) | (extra << ((distance >> 8) & 0xFF)), distance & 0xFF);
    out.Store();
  }
  out.Add(end_code, end_bits);
  out.Store();
  output = out;
}

}  // namespace cscompr

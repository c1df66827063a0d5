#include "cscompr/lzh/block_writer.h"

#include <algorithm>
#include <span>

#include "cscompr/lzh/block_codes.h"

namespace cscompr {
namespace {

// The number of tokens between two decisions whether a block ends early.
constexpr std::size_t kJudgingInterval = 4096;

constexpr unsigned kFixedBlock = 1;
constexpr unsigned kDynamicBlock = 2;
constexpr unsigned kBlockHeaderBits = 3;

// Costs are compared in whole bytes, with the block header.
constexpr std::size_t WholeBytes(std::size_t bits) { return (bits + kBlockHeaderBits + 7) / 8; }

// `description` is that of `lengths`, or null when these are the fixed ones.
void WriteBlock(bool is_final, const BlockCodeLengths& lengths, const CodeDescription* description,
                std::span<const LzhToken> tokens, BitWriter& output) {
  const unsigned type = description != nullptr ? kDynamicBlock : kFixedBlock;
  output.Add((type << 1) | (is_final ? 1U : 0U), kBlockHeaderBits);
  if (description != nullptr) description->Write(output);
  TokenCodes(lengths).Write(tokens, output);
}

}  // namespace

void LzhBlockWriter::Reset(bool closes_early) {
  closes_early_ = closes_early;
  Open();
}

void LzhBlockWriter::Open() {
  tokens_.size = 0;
  tokens_.stop = closes_early_ ? kJudgingInterval : LzhTokens::kCapacity;
  counted_ = 0;
  row_counts_.fill(0);
  distance_counts_.fill(0);
}

bool LzhBlockWriter::EndsHere() {
  if (tokens_.size == LzhTokens::kCapacity) return true;
  CountNewTokens();
  if (PaysToEndHere()) return true;
  tokens_.stop = std::min(tokens_.stop + kJudgingInterval, LzhTokens::kCapacity);
  return false;
}

void LzhBlockWriter::CountNewTokens() {
  for (; counted_ < tokens_.size; ++counted_) {
    const LzhToken token = tokens_.tokens[counted_];
    ++row_counts_[TokenRow(token)];
    ++distance_counts_[TokenDistanceSymbol(token)];
  }
}

// Few matches that save many bytes show that the text has changed. New codes may then fit the text
// that follows better.
bool LzhBlockWriter::PaysToEndHere() const {
  std::size_t matches = 0;
  std::size_t estimated_bits = tokens_.size * 8;
  for (std::size_t i = 0; i < kDistanceRanges.size(); ++i) {
    matches += distance_counts_[i];
    estimated_bits += std::size_t{distance_counts_[i]} * (5U + kDistanceRanges[i].extra_bits);
  }
  std::size_t covered_bytes = tokens_.size - matches;
  for (std::size_t i = kFirstLengthRow; i < kTokenRows; ++i) {
    covered_bytes += row_counts_[i] * (i - kFirstLengthRow + kMinMatch);
  }
  return matches < tokens_.size / 2 && estimated_bits / 8 < covered_bytes / 2;
}

void LzhBlockWriter::Close(bool is_final, BitWriter& output) {
  CountNewTokens();
  BlockFrequencies frequencies;
  std::copy_n(row_counts_.begin(), kLiteralCount, frequencies.literal_lengths.begin());
  frequencies.literal_lengths[kEndOfBlock] = 1;
  for (std::size_t i = 0; i < kLengthSymbols.size(); ++i) {
    frequencies.literal_lengths[kFirstLengthSymbol + kLengthSymbols[i]] +=
        row_counts_[kFirstLengthRow + i];
  }
  std::copy_n(distance_counts_.begin(), kDistanceCodes, frequencies.distances.begin());

  const BlockCodeLengths dynamic = DynamicLengths(frequencies);
  const BlockCodeLengths fixed = FixedLengths();
  const CodeDescription description(dynamic);
  const std::size_t dynamic_bits = description.CostInBits() + CostInBits(frequencies, dynamic);
  const std::span<const LzhToken> tokens = std::span(tokens_.tokens).first(tokens_.size);
  if (WholeBytes(dynamic_bits) < WholeBytes(CostInBits(frequencies, fixed))) {
    WriteBlock(is_final, dynamic, &description, tokens, output);
  } else {
    WriteBlock(is_final, fixed, nullptr, tokens, output);
  }
  Open();
}

}  // namespace cscompr

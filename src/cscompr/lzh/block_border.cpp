#include "cscompr/lzh/block_border.h"

#include <algorithm>

#include "cscompr/lzh/deflate_format.h"

namespace cscompr {

void TokenCounts::Add(std::span<const LzhToken> tokens) {
  for (const LzhToken token : tokens) {
    ++rows[TokenRow(token)];
    ++distances[TokenDistanceSymbol(token)];
  }
}

void LzhBlockBorder::Open() {
  counts_ = {};
  counted_ = 0;
  stop_ = closes_early_ ? kJudgingInterval : LzhTokens::kCapacity;
}

bool LzhBlockBorder::EndsAfter(std::span<const LzhToken> tokens) {
  if (tokens.size() == LzhTokens::kCapacity) return true;
  CountsOf(tokens);
  if (PaysToEndAfter(tokens.size())) return true;
  stop_ = std::min(stop_ + kJudgingInterval, LzhTokens::kCapacity);
  return false;
}

const TokenCounts& LzhBlockBorder::CountsOf(std::span<const LzhToken> tokens) {
  counts_.Add(tokens.subspan(counted_));
  counted_ = tokens.size();
  return counts_;
}

// Few matches that save many bytes show that the text has changed. New codes may then fit the text
// that follows better.
bool LzhBlockBorder::PaysToEndAfter(std::size_t size) const {
  std::size_t matches = 0;
  std::size_t estimated_bits = size * 8;
  for (std::size_t i = 0; i < kDistanceRanges.size(); ++i) {
    matches += counts_.distances[i];
    estimated_bits += std::size_t{counts_.distances[i]} * (5U + kDistanceRanges[i].extra_bits);
  }
  std::size_t covered_bytes = size - matches;
  for (std::size_t i = kFirstLengthRow; i < kTokenRows; ++i) {
    covered_bytes += counts_.rows[i] * (i - kFirstLengthRow + kMinMatch);
  }
  return matches < size / 2 && estimated_bits / 8 < covered_bytes / 2;
}

}  // namespace cscompr

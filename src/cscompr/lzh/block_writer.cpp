#include "cscompr/lzh/block_writer.h"

#include <algorithm>

#include "cscompr/lzh/block_codes.h"

namespace cscompr {
namespace {

constexpr unsigned kFixedBlock = 1;
constexpr unsigned kDynamicBlock = 2;
constexpr unsigned kBlockHeaderBits = 3;

// Costs are compared in whole bytes, with the block header.
constexpr std::size_t WholeBytes(std::size_t bits) { return (bits + kBlockHeaderBits + 7) / 8; }

BlockFrequencies FrequenciesOf(const TokenCounts& counts) {
  BlockFrequencies frequencies;
  std::copy_n(counts.rows.begin(), kLiteralCount, frequencies.literal_lengths.begin());
  frequencies.literal_lengths[kEndOfBlock] = 1;
  for (std::size_t i = 0; i < kLengthSymbols.size(); ++i) {
    frequencies.literal_lengths[kFirstLengthSymbol + kLengthSymbols[i]] +=
        counts.rows[kFirstLengthRow + i];
  }
  std::copy_n(counts.distances.begin(), kDistanceCodes, frequencies.distances.begin());
  return frequencies;
}

void AddHeader(bool is_final, unsigned type, BitWriter& output) {
  output.Add((type << 1) | (is_final ? 1U : 0U), kBlockHeaderBits);
}

}  // namespace

void WriteBlock(bool is_final, std::span<const LzhToken> tokens, const TokenCounts& counts,
                BitWriter& output) {
  const BlockFrequencies frequencies = FrequenciesOf(counts);
  const BlockCodeLengths dynamic = DynamicLengths(frequencies);
  const CodeDescription description(dynamic);
  const std::size_t dynamic_bits = description.CostInBits() + CostInBits(frequencies, dynamic);
  if (WholeBytes(dynamic_bits) < WholeBytes(CostInBits(frequencies, kFixedLengths))) {
    AddHeader(is_final, kDynamicBlock, output);
    description.Write(output);
    TokenCodesOf(dynamic).Write(tokens, output);
  } else {
    AddHeader(is_final, kFixedBlock, output);
    kFixedTokenCodes.Write(tokens, output);
  }
}

void LzhBlockWriter::Reset(bool closes_early) {
  border_.Reset(closes_early);
  Open();
}

void LzhBlockWriter::Open() {
  border_.Open();
  tokens_.size = 0;
  tokens_.stop = border_.stop();
}

bool LzhBlockWriter::EndsHere() {
  const bool ends = border_.EndsAfter(Added());
  tokens_.stop = border_.stop();
  return ends;
}

void LzhBlockWriter::Close(bool is_final, BitWriter& output) {
  WriteBlock(is_final, Added(), border_.CountsOf(Added()), output);
  Open();
}

}  // namespace cscompr

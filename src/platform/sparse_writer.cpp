#include "platform/sparse_writer.h"

#include <algorithm>
#include <cstring>

namespace moldex {
namespace {

constexpr std::uint64_t kLongestSkip = 0x40000000;

// Compares the bytes with those one place before them. Nearly every block with data ends the
// comparison at its first bytes.
bool IsZero(std::span<const std::uint8_t> block) {
  return block[0] == 0 && std::memcmp(block.data(), block.data() + 1, block.size() - 1) == 0;
}

}  // namespace

// Goes from block to block. The bytes of blocks that hold data wait until zeros end them, so that
// they are written together.
Result<void> CSparseWriter::Write(std::span<const std::uint8_t> bytes) {
  std::size_t data_bytes = 0;
  while (data_bytes < bytes.size()) {
    const auto in_block = static_cast<std::size_t>((position_ + data_bytes) % kBlockBytes);
    const auto block = bytes.subspan(data_bytes)
                           .first(std::min(bytes.size() - data_bytes, kBlockBytes - in_block));
    // A part of a block goes on with the zeros before it, or perhaps those of the next call.
    const bool goes_on =
        (hole_bytes_ > 0 && data_bytes == 0) || data_bytes + block.size() == bytes.size();
    if (!IsZero(block) || (block.size() < kBlockBytes && !goes_on)) {
      data_bytes += block.size();
      continue;
    }
    const auto written = WriteData(bytes.first(data_bytes));
    if (!written) return written;
    hole_bytes_ += block.size();
    position_ += block.size();
    bytes = bytes.subspan(data_bytes + block.size());
    data_bytes = 0;
  }
  return WriteData(bytes);
}

Result<void> CSparseWriter::WriteData(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return {};
  const auto passed = PassHole();
  if (!passed) return passed;
  position_ += bytes.size();
  return file_.WriteAll(bytes);
}

Result<void> CSparseWriter::PassHole() {
  if (hole_bytes_ == 0) return {};
  file_.AllowHoles();
  while (hole_bytes_ > 0) {
    const std::uint64_t step = std::min(hole_bytes_, kLongestSkip);
    const auto skipped = file_.Skip(static_cast<std::int32_t>(step), 0);
    if (!skipped) return skipped;
    hole_bytes_ -= step;
  }
  return {};
}

Result<void> CSparseWriter::Finish() {
  if (hole_bytes_ == 0) return {};
  file_.AllowHoles();
  hole_bytes_ = 0;
  return file_.Truncate(position_);
}

}  // namespace moldex

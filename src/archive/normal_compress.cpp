#include "archive/normal_compress.h"

#include <algorithm>

#include "archive/checksum.h"
#include "archive/container.h"
#include "archive/data_blocks.h"
#include "archive/dir_entry.h"
#include "cscompr/cscompr.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/status_line.h"

namespace moldex {
namespace {

// Length of one compressed stream.
constexpr std::uint64_t kChunkBytes = 0x40000000;

}  // namespace

void CNormalCompress::Compress(CContainer& archive) {
  checksum_ = 0;
  std::uint64_t left = entry_->header().size_bytes();
  while (left > 0) {
    const std::uint64_t length = std::min(left, kChunkBytes);
    left -= length;
    CompressChunk(archive, static_cast<std::int32_t>(length), left == 0);
  }
  WriteChecksum(archive, checksum_);
}

void CNormalCompress::CompressChunk(CContainer& archive, std::int32_t length, bool last) {
  CStreamWriter stream(archive, buffers_, length);
  std::size_t left = static_cast<std::size_t>(length);
  std::span<const std::uint8_t> piece;
  while (!stream.Complete()) {
    if (!stream.WantsSamePiece()) {
      piece = ReadPiece(std::min(left, buffers_.input.size()));
      left -= piece.size();
    }
    const auto taken = stream.Compress(piece);
    if (!taken) throw CCompExcept(entry_->GetName());
    piece = piece.subspan(*taken);
    if (!stream.WriteBlock(last)) throw CCompExcept(entry_->GetName());
  }
}

std::span<const std::uint8_t> CNormalCompress::ReadPiece(std::size_t length) {
  const std::span<std::uint8_t> piece(buffers_.input.data(), length);
  ThrowIfInterrupted();
  const Transfer transfer = entry_->file().Read(piece);
  if (!transfer.ok || transfer.bytes != length) throw CReadExcept(entry_->GetName());
  checksum_ = UpdateChecksum(checksum_, piece);
  status_line::DidMore(length);
  return piece;
}

}  // namespace moldex

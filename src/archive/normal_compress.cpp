#include "archive/normal_compress.h"

#include <algorithm>
#include <array>
#include <utility>

#include "archive/archive_writer.h"
#include "archive/checksum.h"
#include "archive/data_blocks.h"
#include "archive/dir_entry.h"
#include "platform/backup_stream.h"
#include "platform/interrupt.h"
#include "report/except.h"

namespace moldex {
namespace {

// Length of one compressed stream.
constexpr std::uint64_t kChunkBytes = 0x40000000;

}  // namespace

void CNormalCompress::SetEntry(CDirEntry* entry) {
  entry_ = entry;
  ready_ = {};
  as_backup_stream_ = false;
  const std::uint64_t length = entry->header().size_bytes();
  if (!long_names_ || length > buffers_.input.size()) return;
  ready_ = ReadPiece(static_cast<std::size_t>(length));
  as_backup_stream_ = IsBackupStream(ready_);
  if (as_backup_stream_) entry->SetSize(length + kStreamIdBytes);
}

void CNormalCompress::Compress(CArchiveWriter& archive) {
  checksum_ = 0;
  if (as_backup_stream_) {
    CompressAsBackupStream(archive);
    WriteChecksum(archive, checksum_);
    return;
  }
  std::uint64_t left = entry_->header().size_bytes();
  while (left > 0) {
    const std::uint64_t length = std::min(left, kChunkBytes);
    left -= length;
    CompressChunk(archive, static_cast<std::int32_t>(length), left == 0);
  }
  WriteChecksum(archive, checksum_);
}

// Writes the stream head and the file that was read ahead, as compressed streams of at most a
// piece. These short streams tell a reader that a long entry is a backup stream.
void CNormalCompress::CompressAsBackupStream(CArchiveWriter& archive) {
  std::array<std::uint8_t, kStreamIdBytes> head{};
  EncodeStreamHead({kStreamData, 0, ready_.size(), 0}, head);
  const std::size_t first = std::min(ready_.size(), buffers_.input.size() - head.size());
  std::array<std::uint8_t, kStreamIdBytes> tail{};
  const auto rest = std::span(tail).first(ready_.size() - first);
  std::copy_n(ready_.begin() + static_cast<std::ptrdiff_t>(first), rest.size(), rest.begin());
  std::copy_backward(ready_.begin(), ready_.begin() + static_cast<std::ptrdiff_t>(first),
                     buffers_.input.begin() + static_cast<std::ptrdiff_t>(head.size() + first));
  std::copy(head.begin(), head.end(), buffers_.input.begin());
  ready_ = std::span(buffers_.input).first(head.size() + first);
  CompressChunk(archive, static_cast<std::int32_t>(ready_.size()), rest.empty());
  ready_ = rest;
  if (!rest.empty()) CompressChunk(archive, static_cast<std::int32_t>(rest.size()), true);
}

void CNormalCompress::CompressChunk(CArchiveWriter& archive, std::int32_t length, bool last) {
  CStreamWriter stream(archive, buffers_, length);
  std::size_t left = static_cast<std::size_t>(length);
  std::span<const std::uint8_t> piece;
  while (!stream.Complete()) {
    if (!stream.WantsSamePiece()) {
      piece = NextPiece(std::min(left, buffers_.input.size()));
      left -= piece.size();
    }
    const auto taken = stream.Compress(piece);
    if (!taken) throw CCompExcept(entry_->GetName());
    piece = piece.subspan(*taken);
    if (!stream.WriteBlock(last)) throw CCompExcept(entry_->GetName());
  }
}

std::span<const std::uint8_t> CNormalCompress::NextPiece(std::size_t length) {
  const auto piece = ready_.empty() ? ReadPiece(length) : std::exchange(ready_, {});
  checksum_ = UpdateChecksum(checksum_, piece);
  return piece;
}

std::span<const std::uint8_t> CNormalCompress::ReadPiece(std::size_t length) {
  const std::span<std::uint8_t> piece(buffers_.input.data(), length);
  ThrowIfInterrupted();
  if (!entry_->file().ReadAll(piece)) throw CReadExcept(entry_->GetName());
  progress_.Advance(length);
  return piece;
}

}  // namespace moldex

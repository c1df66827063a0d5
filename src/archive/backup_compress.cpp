#include "archive/backup_compress.h"

#include <algorithm>
#include <limits>
#include <span>

#include "archive/archive_writer.h"
#include "archive/checksum.h"
#include "archive/data_blocks.h"
#include "archive/dir_entry.h"
#include "platform/interrupt.h"
#include "report/except.h"

namespace moldex {
namespace {

constexpr std::uint64_t kLongestStream = std::numeric_limits<std::uint32_t>::max();

}  // namespace

void CBackupCompress::Compress(CArchiveWriter& archive) {
  checksum_ = 0;
  total_bytes_ = 0;
  CheckLength();
  for (std::size_t length = ReadPiece(); length > 0;)
    length = CompressPiece(archive, length);
  if (!entry_->file().EndBackup()) throw CReadExcept(entry_->GetName());
  WriteChecksum(archive, checksum_);
  archive.PatchEntrySize(entry_->header_position(), static_cast<std::uint32_t>(total_bytes_));
}

// The stream is longer than its file, but its length has to fit in 32 bits.
void CBackupCompress::CheckLength() const {
  if (std::max(total_bytes_, entry_->header().size_bytes()) <= kLongestStream) return;
  throw CExcept("MOLDEX: too long to be stored with its attributes: " + entry_->GetName(),
                kErrorBadLength, false);
}

// Reads the next piece into the input buffer; 0 at the end.
std::size_t CBackupCompress::ReadPiece() {
  ThrowIfInterrupted();
  const auto count = entry_->file().BackupRead(buffers_.input);
  if (!count) throw CReadExcept(entry_->GetName());
  total_bytes_ += *count;
  CheckLength();
  progress_.Advance(*count);
  return *count;
}

// Makes a stream of the piece in the input buffer, and returns the length of the piece that is
// there afterwards. The last block of the entry has to say that it is the last, so the next piece
// is read as soon as the library has taken this one: if there is none, this stream was the last.
std::size_t CBackupCompress::CompressPiece(CArchiveWriter& archive, std::size_t length) {
  CStreamWriter stream(archive, buffers_, static_cast<std::int32_t>(length));
  std::span<const std::uint8_t> piece(buffers_.input.data(), length);
  checksum_ = UpdateChecksum(checksum_, piece);
  std::size_t next_length = 0;
  while (!stream.Complete()) {
    const auto taken = stream.Compress(piece);
    if (!taken) throw CCompExcept(entry_->GetName());
    piece = piece.subspan(*taken);
    if (stream.Complete()) next_length = ReadPiece();
    if (!stream.WriteBlock(next_length == 0)) throw CCompExcept(entry_->GetName());
  }
  return next_length;
}

}  // namespace moldex

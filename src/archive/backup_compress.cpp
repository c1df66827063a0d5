#include "archive/backup_compress.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "archive/checksum.h"
#include "archive/dir_entry.h"
#include "report/deferred_failure.h"
#include "report/except.h"

namespace moldex {
namespace {

constexpr std::uint64_t kLongestStream = std::numeric_limits<std::uint32_t>::max();

}  // namespace

void CBackupCompress::SetEntry(CDirEntry* entry) {
  entry_ = entry;
  is_begun_ = false;
  stream_.reset();
  checksum_ = 0;
  total_bytes_ = 0;
}

// The last block of the entry has to say that it is the last, so the next piece is read as soon as
// the encoder has taken this one: if there is none, this stream was the last.
bool CBackupCompress::Compress(CDataPiece& piece) {
  if (!std::exchange(is_begun_, true)) ReadInput(piece);
  if (!stream_ && input_.empty()) {
    Finish(piece);
    return false;
  }
  if (!stream_) stream_.emplace(buffers_.encoder, static_cast<std::int32_t>(input_.size()));
  const auto taken = stream_->Compress(input_, piece);
  if (!taken) FailLater<CCompExcept>(entry_->GetName());
  input_ = input_.subspan(*taken);
  const bool complete = stream_->Complete();
  if (complete) ReadInput(piece);
  if (!stream_->WriteBlock(input_.empty(), piece)) FailLater<CCompExcept>(entry_->GetName());
  if (complete) stream_.reset();
  return true;
}

void CBackupCompress::Finish(CDataPiece& piece) {
  if (!entry_->file().EndBackup()) FailLater<CReadExcept>(entry_->GetName());
  piece.AddChecksum(checksum_);
  piece.SetEntrySize(total_bytes_);
}

// The stream is longer than its file, but its length has to fit in 32 bits.
void CBackupCompress::CheckLength() const {
  if (std::max(total_bytes_, entry_->header().size_bytes()) <= kLongestStream) return;
  FailLater<CExcept>("MOLDEX: too long to be stored with its attributes: " + entry_->GetName(),
                     kErrorBadLength, false);
}

// Reads the next piece; it is empty at the end.
void CBackupCompress::ReadInput(CDataPiece& piece) {
  CheckLength();
  const auto count = entry_->file().BackupRead(std::span(buffers_.input).first<kLargestPayload>());
  if (!count) FailLater<CReadExcept>(entry_->GetName());
  total_bytes_ += *count;
  CheckLength();
  piece.CountRead(*count);
  input_ = std::span(buffers_.input).first(*count);
  checksum_ = UpdateChecksum(checksum_, input_);
}

}  // namespace moldex

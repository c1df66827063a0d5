#include "archive/normal_compress.h"

#include <algorithm>
#include <utility>

#include "archive/checksum.h"
#include "archive/dir_entry.h"
#include "platform/backup_stream.h"
#include "report/deferred_failure.h"
#include "report/except.h"

namespace moldex {
void CNormalCompress::SetEntry(CDirEntry* entry) {
  entry_ = entry;
  longest_stream_ = kLongestStream;
  left_ = entry->header().size_bytes();
  stream_.reset();
  ready_ = {};
  checksum_ = 0;
  if (!long_names_ || left_ > kLargestPayload) return;
  ready_ = ReadInput(static_cast<std::size_t>(left_));
  if (IsBackupStream(ready_)) BeginEntryAsBackupStream(ready_.size());
}

// Puts the head of a stream in front of the file that was read ahead. Streams of at most a piece
// tell a reader that a long entry is a backup stream.
void CNormalCompress::BeginEntryAsBackupStream(std::size_t file_bytes) {
  static_assert(CompressionBuffers::kHeadSpace >= kStreamIdBytes);
  const auto bytes =
      std::span(buffers_.input)
          .subspan(CompressionBuffers::kHeadSpace - kStreamIdBytes, kStreamIdBytes + file_bytes);
  EncodeStreamHead({kStreamData, 0, file_bytes, 0}, bytes.first<kStreamIdBytes>());
  ready_ = bytes;
  left_ = bytes.size();
  longest_stream_ = kLargestPayload;
  entry_->SetSize(left_);
}

bool CNormalCompress::Compress(CDataPiece& piece) {
  if (!stream_) BeginStream();
  if (!stream_->WantsSamePiece()) input_ = NextInput();
  piece.CountRead(std::exchange(read_bytes_, 0));
  const auto taken = stream_->Compress(input_, piece);
  if (!taken) FailLater<CCompExcept>(entry_->GetName());
  input_ = input_.subspan(*taken);
  if (!stream_->WriteBlock(left_ == 0, piece)) FailLater<CCompExcept>(entry_->GetName());
  if (!stream_->Complete()) return true;
  stream_.reset();
  if (left_ > 0) return true;
  piece.AddChecksum(checksum_);
  return false;
}

void CNormalCompress::BeginStream() {
  stream_left_ = std::min(left_, longest_stream_);
  left_ -= stream_left_;
  stream_.emplace(buffers_.encoder, static_cast<std::int32_t>(stream_left_));
}

std::span<const std::uint8_t> CNormalCompress::NextInput() {
  const auto length =
      static_cast<std::size_t>(std::min<std::uint64_t>(stream_left_, kLargestPayload));
  std::span<const std::uint8_t> input;
  if (ready_.empty()) {
    input = ReadInput(length);
  } else {
    input = ready_.first(length);
    ready_ = ready_.subspan(length);
  }
  stream_left_ -= length;
  checksum_ = UpdateChecksum(checksum_, input);
  return input;
}

std::span<const std::uint8_t> CNormalCompress::ReadInput(std::size_t length) {
  const auto input = std::span(buffers_.input).subspan(CompressionBuffers::kHeadSpace, length);
  if (!entry_->file().ReadAll(input)) FailLater<CReadExcept>(entry_->GetName());
  read_bytes_ += length;
  return input;
}

}  // namespace moldex

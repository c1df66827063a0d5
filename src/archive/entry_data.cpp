#include "archive/entry_data.h"

#include <new>

#include "archive/archive_reader.h"
#include "archive/checksum.h"
#include "archive/dir_entry.h"
#include "base/bytes.h"
#include "cscompr/cscompr.h"
#include "platform/backup_stream.h"
#include "report/except.h"

namespace moldex {
namespace {

// A backup stream is compressed piece by piece, each a stream of its own of at most this length; a
// file is one stream, or one for each gigabyte.
constexpr std::uint64_t kLongestBackupPiece = 65536;

}  // namespace

void FailDataLength(const std::string& entry_name) {
  throw CExcept(
      "MOLDEX: error decompressing " + entry_name + "; its length is not the one in the archive",
      kErrorBadLength, false);
}

void CEntryData::Begin(const CDirEntry& entry, bool has_data) {
  entry_ = &entry;
  size_bytes_ = has_data ? entry.header().size_bytes() : 0;
  kind_ = entry.header().has_file_time ? Kind::kUndecided : Kind::kFile;
  payload_ = {};
  in_block_ = false;
  more_blocks_ = has_data;
  last_code_ = kCsEndOfStream;  // so that the first block begins a stream
  in_data_ = false;
  held_bytes_ = 0;
  done_bytes_ = 0;
  checksum_ = 0;
  stored_checksum_ = 0;
}

DataPiece CEntryData::NextPiece() {
  for (;;) {
    if (!in_block_ && !ReadBlock()) return {};
    auto bytes = Decompress();
    in_block_ = last_code_ == kCsOutputFull;
    if (kind_ == Kind::kUndecided) bytes = HoldBack(bytes);
    if (!bytes.empty()) return {bytes, kind_ == Kind::kBackupStream};
  }
}

// The next block that has anything to decompress; false after the last.
bool CEntryData::ReadBlock() {
  while (more_blocks_) {
    if (!buffer_) buffer_ = std::make_unique<OutputBuffer>();
    const DataBlock block = archive_.GetEntryData();
    more_blocks_ = block.more_follow;
    stored_checksum_ = block.checksum;
    if (IsCutOffEndMark(block.payload)) continue;
    payload_ = block.payload;
    in_data_ = true;
    if (kind_ == Kind::kUndecided && size_bytes_ > kLongestBackupPiece) DecideByStream(payload_);
    return true;
  }
  CheckLength();
  return false;
}

// A stream ends with a zero byte that carries no data. If the blocks are cut right before that
// byte, the stream is already complete when it arrives. It cannot be taken for the next stream,
// whose first block holds its header at least.
bool CEntryData::IsCutOffEndMark(std::span<const std::uint8_t> payload) const {
  return in_data_ && last_code_ == kCsEndOfStream && payload.size() == 1 && payload[0] == 0;
}

// The header of the first stream decides, for an entry that is longer than a piece.
void CEntryData::DecideByStream(std::span<const std::uint8_t> payload) {
  if (payload.size() < sizeof(std::uint32_t)) return;  // the library refuses it
  const bool short_stream = GetU32(payload.data()) <= kLongestBackupPiece;
  kind_ = short_stream ? Kind::kBackupStream : Kind::kFile;
}

// One call of the library, from the current block into the buffer. An entry's data are one stream
// or several; a stream ends where a block ends.
std::span<const std::uint8_t> CEntryData::Decompress() {
  const std::int32_t option = last_code_ == kCsEndOfStream ? kCsFirstCall : 0;
  const auto space = std::span(*buffer_).subspan(held_bytes_);
  std::int32_t taken = 0;
  std::int32_t given = 0;
  last_code_ = CsDecompr(payload_.data(), static_cast<std::int32_t>(payload_.size()), space.data(),
                         static_cast<std::int32_t>(space.size()), option, &taken, &given);
  if (last_code_ == kCsNoMemory) throw std::bad_alloc();
  const bool stuck = last_code_ == kCsOutputFull && taken == 0 && given == 0;
  if (last_code_ <= 0 || stuck) throw CDecompExcept(entry_->GetName(), last_code_);
  payload_ = payload_.subspan(static_cast<std::size_t>(taken));
  const auto bytes = space.first(static_cast<std::size_t>(given));
  progress_.CountUnpacked(static_cast<std::uint64_t>(taken), bytes.size());
  if (bytes.size() > size_bytes_ - done_bytes_) FailDataLength(entry_->GetName());
  done_bytes_ += bytes.size();
  checksum_ = UpdateChecksum(checksum_, bytes);
  return bytes;
}

// Keeps the bytes of a short entry in the buffer until it is whole and can be judged by what it
// holds. Empty until then.
std::span<const std::uint8_t> CEntryData::HoldBack(std::span<const std::uint8_t> bytes) {
  held_bytes_ += bytes.size();
  if (done_bytes_ < size_bytes_) return {};
  const auto whole = std::span<const std::uint8_t>(*buffer_).first(held_bytes_);
  kind_ = IsBackupStream(whole) ? Kind::kBackupStream : Kind::kFile;
  held_bytes_ = 0;
  return whole;
}

void CEntryData::CheckLength() const {
  if (last_code_ != kCsEndOfStream) throw CDecompExcept(entry_->GetName(), last_code_);
  if (done_bytes_ != size_bytes_) FailDataLength(entry_->GetName());
}

void CEntryData::CheckChecksum() const {
  if (checksum_ == stored_checksum_) return;
  throw CExcept("MOLDEX: checksum error in " + entry_->GetName(), kErrorChecksum, false);
}

}  // namespace moldex

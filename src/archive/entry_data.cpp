#include "archive/entry_data.h"

#include <new>

#include "archive/checksum.h"
#include "archive/dir_entry.h"
#include "base/bytes.h"
#include "cscompr/cscompr.h"
#include "platform/backup_stream.h"
#include "report/deferred_failure.h"
#include "report/error_codes.h"

namespace moldex {
namespace {

// A backup stream is compressed piece by piece, each a stream of its own of at most this length; a
// file is one stream, or one for each gigabyte.
constexpr std::uint64_t kLongestBackupPiece = 65536;

std::int32_t Length(std::span<const std::uint8_t> bytes) {
  return static_cast<std::int32_t>(bytes.size());
}

}  // namespace

FailureText DataLengthFailure(const std::string& entry_name) {
  return CExcept::Text(
      "MOLDEX: error decompressing " + entry_name + "; its length is not the one in the archive",
      kErrorBadLength, false);
}

FailureText ChecksumFailure(const std::string& entry_name) {
  return CExcept::Text("MOLDEX: checksum error in " + entry_name, kErrorChecksum, false);
}

FailureText SurplusDataFailure(const std::string& entry_name) {
  return CExcept::Text("MOLDEX: error decompressing " + entry_name +
                           "; it has data that its size in the archive does not announce",
                       kErrorBadLength, false);
}

DataAnnounced AnnouncedBy(const CDirEntry& entry) {
  const EntryHeader& header = entry.header();
  return {entry.GetName(), entry.NeedsData() ? header.size_bytes() : 0, header.has_file_time};
}

void CEntryData::Begin(const DataAnnounced& announced) {
  name_ = announced.name;
  size_bytes_ = announced.size_bytes;
  kind_ = announced.may_be_backup ? Kind::kUndecided : Kind::kFile;
  payload_ = {};
  in_block_ = false;
  more_blocks_ = size_bytes_ != 0;
  last_code_ = kCsEndOfStream;  // so that the first block begins a stream
  in_data_ = false;
  held_bytes_ = 0;
  packed_bytes_ = 0;
  done_bytes_ = 0;
  checksum_ = 0;
  stored_checksum_ = 0;
}

void CEntryData::AddBlock(const DataBlock& block) {
  if (!buffer_) buffer_ = std::make_unique<OutputBuffer>();
  more_blocks_ = block.more_follow;
  stored_checksum_ = block.checksum;
  if (IsCutOffEndMark(block.payload)) return;
  payload_ = block.payload;
  in_block_ = true;
  in_data_ = true;
  if (kind_ == Kind::kUndecided && size_bytes_ > kLongestBackupPiece) DecideByStream(payload_);
}

DataPiece CEntryData::NextPiece() {
  auto bytes = Decompress();
  in_block_ = last_code_ == kCsOutputFull;
  if (kind_ == Kind::kUndecided) bytes = HoldBack(bytes);
  return {bytes, kind_ == Kind::kBackupStream};
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

// One call of the decoder, from the current block into the buffer. An entry's data are one stream
// or several; a stream ends where a block ends.
std::span<const std::uint8_t> CEntryData::Decompress() {
  const bool first = last_code_ == kCsEndOfStream;
  const auto space = std::span(*buffer_).subspan(held_bytes_);
  const auto outcome =
      decoder_.Decompress({payload_.data(), Length(payload_), space.data(), Length(space)}, first);
  last_code_ = outcome.code;
  if (last_code_ == kCsNoMemory) throw std::bad_alloc();
  const bool stuck =
      last_code_ == kCsOutputFull && outcome.bytes_read == 0 && outcome.bytes_written == 0;
  if (last_code_ <= 0 || stuck) FailLater<CDecompExcept>(name_, last_code_);
  payload_ = payload_.subspan(static_cast<std::size_t>(outcome.bytes_read));
  const auto bytes = space.first(static_cast<std::size_t>(outcome.bytes_written));
  if (bytes.size() > size_bytes_ - done_bytes_) FailLater(DataLengthFailure(name_));
  packed_bytes_ += static_cast<std::uint64_t>(outcome.bytes_read);
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
  if (last_code_ != kCsEndOfStream) FailLater<CDecompExcept>(name_, last_code_);
  if (done_bytes_ != size_bytes_) FailLater(DataLengthFailure(name_));
}

void CEntryData::CheckChecksum() const {
  if (checksum_ != stored_checksum_) FailLater(ChecksumFailure(name_));
}

}  // namespace moldex

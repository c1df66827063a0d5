// The data of one entry after another, decompressed piece by piece, and checked against the entry's
// size and checksum. Tells whether the data are a backup stream or the bytes of a file, but leaves
// their use to the caller.
//
// It gets its blocks from whoever has read them: CArchiveReader, or CDecodeJob on a worker. So its
// failures are deferred ones (deferred_failure.h).
#ifndef MOLDEX_ARCHIVE_ENTRY_DATA_H_
#define MOLDEX_ARCHIVE_ENTRY_DATA_H_

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "archive/archive_format.h"
#include "archive/entry_source.h"
#include "cscompr/stream_decoder.h"
#include "report/except.h"
#include "report/progress.h"

namespace moldex {

// The failures of an entry's data besides CDecompExcept. They need no types of their own: nobody
// catches one of them alone.

// The data do not have the length that their entry announces.
FailureText DataLengthFailure(const std::string& entry_name);
// The data do not have the checksum of their entry.
FailureText ChecksumFailure(const std::string& entry_name);
// The data go on after the end that their entry announces.
FailureText SurplusDataFailure(const std::string& entry_name);

// The header's part of what an entry's data have to be.
struct DataAnnounced {
  std::string_view name;         // of the entry, for failures
  std::uint64_t size_bytes = 0;  // 0 when no block follows
  bool may_be_backup = false;    // only an archive in long-name mode holds backup streams
};

// What the header of an entry says; valid as long as the entry.
DataAnnounced AnnouncedBy(const CDirEntry& entry);

class CEntryData {
 public:
  static constexpr std::size_t kLargestPiece = 65536;

  // Begins with the data of an entry. If it has any, its first block comes next.
  void Begin(const DataAnnounced& announced);

  // Whether the data go on with another block.
  bool WantsBlock() const { return !in_block_ && more_blocks_; }
  // The next block. Its payload stays valid until another one is wanted.
  void AddBlock(const DataBlock& block);
  // Whether all blocks have given what they hold.
  bool IsAtEnd() const { return !in_block_ && !more_blocks_; }

  // When no block is wanted before the end: the next piece, which may be empty. Never reaches
  // beyond the size in the entry's header. Valid until the next call. Defers CDecompExcept and
  // DataLengthFailure. Throws std::bad_alloc.
  DataPiece NextPiece();

  // The bytes that the blocks of the entry have given so far, and their own.
  UnpackedBytes Unpacked() const { return {packed_bytes_, done_bytes_}; }

  // Of the bytes so far.
  std::uint32_t checksum() const { return checksum_; }

  // At the end: checks that the data are complete. Defers what NextPiece defers.
  void CheckLength() const;
  // After CheckLength: compares the checksum. Defers ChecksumFailure.
  void CheckChecksum() const;

 private:
  // An entry's data are the bytes of the file, or a backup stream of it.
  enum class Kind { kUndecided, kFile, kBackupStream };

  using OutputBuffer = std::array<std::uint8_t, kLargestPiece>;

  bool IsCutOffEndMark(std::span<const std::uint8_t> payload) const;
  void DecideByStream(std::span<const std::uint8_t> payload);
  std::span<const std::uint8_t> Decompress();
  std::span<const std::uint8_t> HoldBack(std::span<const std::uint8_t> bytes);

  cscompr::StreamDecoder decoder_;
  std::unique_ptr<OutputBuffer> buffer_;  // made when first used
  std::string name_;
  std::uint64_t size_bytes_ = 0;
  Kind kind_ = Kind::kFile;
  std::span<const std::uint8_t> payload_;  // what is left of the current block
  bool in_block_ = false;                  // the current block has more to give
  bool more_blocks_ = false;
  std::int32_t last_code_ = 0;  // of the decoder
  bool in_data_ = false;        // a block has been decompressed
  std::size_t held_bytes_ = 0;
  std::uint64_t packed_bytes_ = 0;
  std::uint64_t done_bytes_ = 0;
  std::uint32_t checksum_ = 0;
  std::uint32_t stored_checksum_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_DATA_H_

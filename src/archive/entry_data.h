// The data of one entry of an archive, decompressed piece by piece, and checked against the entry's
// size and checksum. Tells whether the data are a backup stream or the bytes of a file, but leaves
// their use to the caller. Only CArchiveReader uses it.
#ifndef MOLDEX_ARCHIVE_ENTRY_DATA_H_
#define MOLDEX_ARCHIVE_ENTRY_DATA_H_

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "archive/entry_source.h"
#include "report/progress.h"

namespace moldex {

class CArchiveReader;
class CDirEntry;

// Throws CExcept for an entry whose data do not have the length that it announces.
[[noreturn]] void FailDataLength(const std::string& entry_name);

// Reads the blocks of one entry after another from a reader, which outlives it. Throws
// CDecompExcept, what CArchiveReader::GetEntryData throws, and CExcept for a length or a checksum
// that is wrong.
class CEntryData {
 public:
  CEntryData(CArchiveReader& archive, CProgress& progress)
      : archive_(archive), progress_(progress) {}

  // Begins with the data of an entry. If it has any, its blocks come next in the archive. Only an
  // archive in long-name mode can hold backup streams.
  void Begin(const CDirEntry& entry, bool has_data);

  // The next piece; empty after the last, when the length has been checked. Never reaches beyond
  // the size in the entry's header.
  DataPiece NextPiece();

  // Compares the checksum, after the last piece.
  void CheckChecksum() const;

 private:
  // An entry's data are the bytes of the file, or a backup stream of it.
  enum class Kind { kUndecided, kFile, kBackupStream };

  static constexpr std::size_t kOutputBytes = 65536;
  using OutputBuffer = std::array<std::uint8_t, kOutputBytes>;

  bool ReadBlock();
  bool IsCutOffEndMark(std::span<const std::uint8_t> payload) const;
  void DecideByStream(std::span<const std::uint8_t> payload);
  std::span<const std::uint8_t> Decompress();
  std::span<const std::uint8_t> HoldBack(std::span<const std::uint8_t> bytes);
  void CheckLength() const;

  CArchiveReader& archive_;
  CProgress& progress_;
  std::unique_ptr<OutputBuffer> buffer_;  // made when first used
  const CDirEntry* entry_ = nullptr;
  std::uint64_t size_bytes_ = 0;
  Kind kind_ = Kind::kFile;
  std::span<const std::uint8_t> payload_;  // what is left of the current block
  bool in_block_ = false;                  // the current block has more to give
  bool more_blocks_ = false;
  std::int32_t last_code_ = 0;  // of the decompression library
  bool in_data_ = false;        // a block has been decompressed
  std::size_t held_bytes_ = 0;
  std::uint64_t done_bytes_ = 0;
  std::uint32_t checksum_ = 0;
  std::uint32_t stored_checksum_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_DATA_H_

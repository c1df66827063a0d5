// An archive that another program reads, the object that the C interface (moldexread.h) hands out.
// Turns the failures of the parser into statuses and texts. It shares nothing with other objects.
#ifndef MOLDEX_MOLDEXREAD_OPEN_ARCHIVE_H_
#define MOLDEX_MOLDEXREAD_OPEN_ARCHIVE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive/archive_parser.h"
#include "moldexread/moldexread.h"
#include "platform/backup_stream.h"
#include "platform/file_handle.h"
#include "report/deferred_failure.h"

namespace moldex {

// The bytes of the file in one piece of a backup stream. They stay where they are in the piece.
class CFilePieces : public IBackupSink {
 public:
  bool OnData(std::span<const std::uint8_t> bytes) override;
  bool OnPosition(std::uint64_t position) override;
  bool OnExtendedAttributes(std::span<const std::uint8_t> /*bytes*/) override { return true; }

  // Takes the first of the pieces that were found. False when there is none.
  bool Take(MxrPiece* piece);

 private:
  std::vector<MxrPiece> pieces_;
  std::size_t taken_ = 0;
  std::uint64_t position_ = 0;
};

// The calls of moldexread.h. None of them throws.
class COpenArchive {
 public:
  explicit COpenArchive(std::string path) : path_(std::move(path)) {}

  // `flags` are OpenFlags.
  std::int32_t Open(unsigned flags);
  std::int32_t NextEntry(const MxrEntry** entry);
  std::int32_t NextPiece(MxrPiece* piece);
  std::int32_t NextStoredPiece(MxrPiece* piece);
  // The status of a call that is wrong: with a null argument, or before there is an entry.
  std::int32_t RefuseCall();
  const std::string& error_text() const { return error_text_; }

 private:
  template <typename Work>
  std::int32_t Guarded(Work work);
  template <typename Work>
  std::int32_t NextData(Work work);
  std::int32_t Begin(unsigned flags);
  std::int32_t ReadEntry();
  std::int32_t ReadStored(MxrPiece* piece);
  std::int32_t ReadFile(MxrPiece* piece);
  std::int32_t TurnIntoStatus(const CDeferredFailure& failure);
  std::int32_t End(std::int32_t status, std::string text);
  void FillEntry(const StoredEntry& stored);

  std::string path_;
  std::string error_text_;
  CFileHandle file_;
  std::optional<CArchiveParser> parser_;
  std::int32_t end_status_ = kMxrOk;        // the end of the archive, or what has ended it
  std::int32_t data_status_ = kMxrBadCall;  // kMxrOk while an entry may have more data
  MxrEntry entry_{};
  std::string link_target_;
  std::uint64_t stored_bytes_ = 0;  // of the entry, that were read
  CBackupStreamParser backup_;
  CFilePieces file_pieces_;
};

}  // namespace moldex

#endif  // MOLDEX_MOLDEXREAD_OPEN_ARCHIVE_H_

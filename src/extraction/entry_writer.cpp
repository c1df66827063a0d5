#include "extraction/entry_writer.h"

#include <utility>

#include "archive/entry_data.h"
#include "platform/attributes.h"
#include "platform/security.h"
#include "report/except.h"
#include "report/hints.h"
#include "report/output.h"
#include "report/system_error.h"

namespace moldex {

bool CEntryWriter::MakeNew(const CDirEntry& entry) {
  if (entry.IsDirectory()) {
    is_made_ = place_.MakeNewDirectory(entry.GetName());
  } else if (entry.AsSymbolicLink() == nullptr) {
    file_ = place_.MakeNewFile(entry.GetName());
    is_made_ = file_.IsValid();
    if (is_made_) Begin(entry);
  }
  return is_made_;
}

void CEntryWriter::MakeFile(const CDirEntry& entry) {
  if (std::exchange(is_made_, false)) return;
  file_ = place_.MakeFile(entry.GetName());
  Begin(entry);
}

void CEntryWriter::Begin(const CDirEntry& entry) {
  bytes_.Begin();
  entry_ = &entry;
  is_backup_stream_ = false;
  is_complete_ = false;
}

void CEntryWriter::MakeDirectory(const CDirEntry& entry) {
  if (!std::exchange(is_made_, false)) place_.MakeDirectory(entry.GetName());
}

void CEntryWriter::Write(const DataPiece& piece) {
  if (!file_.IsValid()) return;
  is_backup_stream_ = piece.is_backup_stream;
  const bool is_written =
      is_backup_stream_ ? RestoreBackup(piece.bytes) : bytes_.Write(piece.bytes).ok();
  if (!is_written) throw CWriteExcept(PathOf(*entry_));
}

bool CEntryWriter::RestoreBackup(std::span<const std::uint8_t> bytes) {
  const auto piece = file_.BackupWrite(bytes);
  if (piece == BackupPiece::kRefused) {
    throw CExcept("MOLDEX: error decompressing " + entry_->GetName() +
                      "; its backup stream would do more than restore a file",
                  kErrorBadLength, false);
  }
  return piece.ok();
}

void CEntryWriter::EndData() {
  if (is_backup_stream_ && !file_.EndBackup()) throw CExcept(DataLengthFailure(entry_->GetName()));
  is_backup_stream_ = false;
  if (!bytes_.Finish()) throw CWriteExcept(PathOf(*entry_));
  is_complete_ = true;
}

// A security descriptor is stored as an entry's user data. The user data of a symbolic link are its
// target instead.
void CEntryWriter::RestoreSecurity(const CDirEntry& entry) const {
  if (entry.user_data().empty() || entry.AsSymbolicLink() != nullptr) return;
  if (place_.names().IsTargetDirectory(entry.GetName())) return;
  const std::string path = PathOf(entry);
  const auto restored = moldex::RestoreSecurity(path, entry.user_data());
  if (restored) return;
  WriteOutput(restored.error().what + SystemErrorText(restored.error().error) + '\n');
  FlushOutput();
}

void CEntryWriter::ApplyAttributes(const CDirEntry& entry) {
  if (!file_.IsValid()) return;
  if (entry.header().has_file_time) {
    ApplyTimeAndAttributes(entry);
  } else {
    ApplyTimeAndPermissions(entry);
  }
  if (!file_.Close()) throw CWriteExcept(PathOf(entry));
}

void CEntryWriter::ApplyTimeAndPermissions(const CDirEntry& entry) {
  const EntryHeader& header = entry.header();
  if (!file_.EndWriting()) throw CWriteExcept(PathOf(entry));
  if (!file_.SetDate(header.time_low) && !entry.IsShortcut()) throw CChgDateExcept(PathOf(entry));
  if (!file_.SetPermissions(header.mode & kModePermissions) && !entry.IsShortcut()) {
    throw CChgModExcept(PathOf(entry));
  }
}

// An archive in long-name mode keeps only the date of the last write, and attributes instead of
// permissions.
void CEntryWriter::ApplyTimeAndAttributes(const CDirEntry& entry) {
  const EntryHeader& header = entry.header();
  if (!file_.SetLastWriteTime(FileTimeOf(header))) throw CChgDateExcept(PathOf(entry));
  if (!file_.EndWriting()) throw CWriteExcept(PathOf(entry));
  const bool executable = (header.mode & kModeOwnerExecute) != 0;
  if (!file_.SetAttributes(AttributesOfMode(header.mode), executable)) {
    throw CSetFileAttrExcept(PathOf(entry));
  }
}

void CEntryWriter::KeepPart() noexcept {
  const CSystemErrorGuard guard;
  (void)bytes_.Finish();
}

void CEntryWriter::HintAtPart(const CDirEntry& entry) const {
  if (is_complete_ || !file_.IsValid()) return;
  const auto status = file_.Status();
  if (!status) return;
  KeepHint(PathOf(entry) + " is not complete: " + std::to_string(status->size_bytes) + " of " +
           std::to_string(entry.header().size_bytes()) + " bytes");
}

}  // namespace moldex

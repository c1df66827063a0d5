// Writes entries to disk, one after another: makes the object, takes its data, and gives it its
// date and permissions.
#ifndef MOLDEX_EXTRACTION_ENTRY_WRITER_H_
#define MOLDEX_EXTRACTION_ENTRY_WRITER_H_

#include <cstdint>
#include <span>
#include <string>

#include "archive/dir_entry.h"
#include "archive/entry_sink.h"
#include "extraction/output_place.h"
#include "platform/file_handle.h"
#include "platform/sparse_writer.h"

namespace moldex {

class CEntryWriter : public IEntrySink {
 public:
  // `place` outlives the writer.
  explicit CEntryWriter(COutputPlace& place) : place_(place), bytes_(file_) {}

  // Makes the file or the directory of an entry, if its name is free. False otherwise: nothing but
  // missing parent directories of a file was made. After true, MakeFile and MakeDirectory do
  // nothing for this entry. Makes nothing for a symbolic link.
  bool MakeNew(const CDirEntry& entry);

  // Throw what COutputPlace throws.
  void MakeFile(const CDirEntry& entry) override;
  void MakeDirectory(const CDirEntry& entry) override;
  // Throws CWriteExcept, and CExcept for a backup stream that would do more than restore a file.
  // The bytes written until then stay. The data of a directory, which only a strange archive has,
  // are dropped.
  void Write(const DataPiece& piece) override;
  // Throws CExcept for a backup stream that was left incomplete, and CWriteExcept.
  void EndData() override;

  // After EndData: gives the object the security descriptor that its archive keeps. A failure is
  // reported and changes nothing else.
  void RestoreSecurity(const CDirEntry& entry) const;
  // Gives a file its date and permissions and closes it. Does nothing for a directory or a symbolic
  // link, whose turn comes later. Throws CWriteExcept, CChgDateExcept, CChgModExcept and
  // CSetFileAttrExcept.
  void ApplyAttributes(const CDirEntry& entry);

  // To be called when writing the data ends with a failure, which stays the one that is reported:
  // gives an incomplete file the zeros at its end that were to become a hole.
  void KeepPart() noexcept;
  // After KeepPart: hints at how much of the file is there, for a run that was interrupted.
  void HintAtPart(const CDirEntry& entry) const;

 private:
  void Begin(const CDirEntry& entry);
  bool RestoreBackup(std::span<const std::uint8_t> bytes);
  void ApplyTimeAndPermissions(const CDirEntry& entry);
  void ApplyTimeAndAttributes(const CDirEntry& entry);
  std::string PathOf(const CDirEntry& entry) const {
    return place_.names().OutputPath(entry.GetName());
  }

  COutputPlace& place_;
  const CDirEntry* entry_ = nullptr;  // the file that is being written
  bool is_made_ = false;              // MakeNew has made what the next call is to make
  CFileHandle file_;
  CSparseWriter bytes_;  // into file_
  bool is_backup_stream_ = false;
  bool is_complete_ = false;  // its data are
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_ENTRY_WRITER_H_

// Reads an archive of the format of this program front to back: header, entries, data blocks.
//
// Every operation fails with CReadExcept, with the archive's name, when the archive ends or fails
// too early. Memory stays the same however long the archive is.
//
// CParallelSource uses it to read ahead, and the functions for that defer their failures
// (deferred_failure.h). Those that IEntrySource asks for throw them at once.
#ifndef MOLDEX_ARCHIVE_ARCHIVE_READER_H_
#define MOLDEX_ARCHIVE_ARCHIVE_READER_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "archive/archive_format.h"
#include "archive/entry_data.h"
#include "archive/entry_kinds.h"
#include "archive/entry_source.h"
#include "platform/buffered_reader.h"
#include "platform/file_handle.h"
#include "report/error_codes.h"
#include "report/except.h"
#include "run/run_context.h"

namespace moldex {

// A block whose length no writer can have written. The start of the next block is unknown then.
class CBlockLengthExcept : public CExcept {
 public:
  explicit CBlockLengthExcept(const std::string& message)
      : CExcept(message, kErrorBadLength, false) {}
};

class CArchiveReader : public IEntrySource {
 public:
  // `file` stands at its start. It stays the caller's and outlives the reader.
  CArchiveReader(CRunContext& context, CFileHandle& file, std::string archive_name,
                 const FileIdentity& identity);
  CArchiveReader(const CArchiveReader&) = delete;
  CArchiveReader& operator=(const CArchiveReader&) = delete;

  // Whether this is a version-2 archive: it has the header of one, and anything after the header
  // may begin an entry. Reads only once. Sets the run's long-name mode to that of the archive.
  bool CheckHeader();

  // Null also for an archive that is no version-2 archive.
  CDirEntry* NextEntry() override;
  DataPiece NextPiece() override;
  // Throws CChecksumExcept and CSurplusDataExcept.
  void CheckEnd() override;
  void Rewind() override;
  const FileIdentity& identity() const override { return identity_; }

  const std::string& name() const { return archive_name_; }

  // The same as NextEntry, but defers its failures and shows no progress by name.
  CDirEntry* ReadEntry();
  // The entry that was read last.
  const std::string& EntryName() const { return entry_->GetName(); }
  // The next block of the current entry. Defers a CExcept for bytes that are no block, and
  // CBlockLengthExcept for a block that is empty or too long, before its payload is read. Throws
  // CInterruptExcept at once.
  DataBlock GetEntryData();
  // Whether a block comes next.
  bool DataFollows();
  // Goes back to the current entry, as if it had just been read. The archive has to be a regular
  // file.
  void ReturnToEntry();

  // The end of the last entry that the caller went on from, and the name of that entry: nothing was
  // found wrong up to there. Before the first entry, the end of the archive's header and no name.
  std::uint64_t whole_bytes() const { return whole_bytes_; }
  const std::string& whole_name() const { return whole_name_; }

 private:
  bool ReadHeader();
  std::span<const std::uint8_t> ReadExactly(std::size_t count);
  std::optional<EntryType> ReadType();
  void LeaveEntry();
  void SkipBlock(bool last);
  void Skip(std::uint64_t distance);
  CDirEntry* ReadEntryOf(const EntryType& type);
  std::string ReadName(std::size_t length);
  CDirEntry* BuildEntry(const EntryHeader& header, std::string name);

  CRunContext& context_;
  CFileHandle& file_;
  std::string archive_name_;
  FileIdentity identity_;
  std::optional<CBufferedReader> reader_;
  std::optional<bool> is_version2_;  // empty until CheckHeader
  bool long_names_ = false;
  std::uint64_t whole_bytes_ = 0;
  std::string whole_name_;
  std::vector<std::uint8_t> user_data_;
  CSourceEntry source_entry_;
  CEntryData data_;
  std::uint64_t entry_start_ = 0;
  const CDirEntry* entry_ = nullptr;  // the one that was read last; null before the first
  bool data_wait_ = false;            // its last block was neither read nor passed over
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ARCHIVE_READER_H_

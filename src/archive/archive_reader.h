// Reads an archive of the format of this program front to back: header, entries, data blocks.
//
// Every operation throws CReadExcept, with the archive's name, when the archive ends or fails too
// early. Memory stays the same however long the archive is.
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
  DataPiece NextPiece() override { return data_.NextPiece(); }
  // Throws CExcept for a wrong checksum, and for data that the entry's size does not announce.
  void CheckEnd() override;
  void Rewind() override;
  const FileIdentity& identity() const override { return identity_; }

  const std::string& name() const { return archive_name_; }

  // The next block of the current entry. Throws CExcept for bytes that are no block, and for a
  // block that is empty or too long, before its payload is read.
  DataBlock GetEntryData();

  // The end of the last entry that the caller went on from, and the name of that entry: nothing was
  // found wrong up to there. Before the first entry, the end of the archive's header and no name.
  std::uint64_t whole_bytes() const { return whole_bytes_; }
  const std::string& whole_name() const { return whole_name_; }

 private:
  bool DataFollows();
  std::span<const std::uint8_t> ReadExactly(std::size_t count);
  std::optional<EntryType> ReadType();
  void LeaveEntry();
  void SkipBlock(bool last);
  CDirEntry* ReadEntry(const EntryType& type);
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
  CFile file_entry_;
  CDirectory directory_entry_;
  CLink link_entry_;
  CEntryData data_;
  const CDirEntry* entry_ = nullptr;  // the one that was read last; null before the first
  bool data_wait_ = false;            // its last block was neither read nor passed over
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ARCHIVE_READER_H_

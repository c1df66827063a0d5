// Reads an archive front to back: its header, its entries and their data blocks.
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
#include "archive/entry_kinds.h"
#include "platform/buffered_reader.h"
#include "platform/file_handle.h"
#include "report/error_codes.h"
#include "report/except.h"
#include "run/run_context.h"

namespace moldex {

// A block whose length no writer can have written: where the next one begins is unknown.
class CBlockLengthExcept : public CExcept {
 public:
  explicit CBlockLengthExcept(const std::string& message)
      : CExcept(message, kErrorBadLength, false) {}
};

class CArchiveReader {
 public:
  // `file` stands at its start. It stays the caller's and outlives the reader.
  CArchiveReader(CRunContext& context, CFileHandle& file, std::string archive_name);
  CArchiveReader(const CArchiveReader&) = delete;
  CArchiveReader& operator=(const CArchiveReader&) = delete;

  // Whether this is a version-2 archive: its header is, and what follows, if anything does, may
  // begin an entry. Reads once. The run is in long-name mode then if this archive is.
  bool CheckHeader();
  // The first entry, then one after another whatever was read of the one before; null at the end.
  // An entry is valid until the next call.
  CDirEntry* FirstEntry();
  CDirEntry* NextEntry();
  // Goes back to the start, for another FirstEntry. The archive has to be a regular file.
  void Rewind();
  // Whether a data block comes next.
  bool DataFollows();
  // The next block of the current entry. Throws CExcept for a block that is none, and for one that
  // is empty or too long, before it is read.
  DataBlock GetEntryData();

  // Where the last entry ends that the caller has gone on from, and its name: nothing was found
  // wrong with it. Before the first, the end of the archive's header and nothing.
  std::uint64_t whole_bytes() const { return whole_bytes_; }
  const std::string& whole_name() const { return whole_name_; }

 private:
  std::span<const std::uint8_t> ReadExactly(std::size_t count);
  std::optional<EntryType> ReadType();
  void NoteWholeEntry();
  void SkipBlock(bool last);
  CDirEntry* ReadEntry(const EntryType& type);
  std::string ReadName(std::size_t length);
  CDirEntry* BuildEntry(const EntryHeader& header, std::string name);

  CRunContext& context_;
  CFileHandle& file_;
  std::string archive_name_;
  std::optional<CBufferedReader> reader_;
  std::optional<bool> is_version2_;  // empty until CheckHeader
  bool long_names_ = false;
  std::uint64_t whole_bytes_ = 0;
  std::string whole_name_;
  std::vector<std::uint8_t> user_data_;
  CFile file_entry_;
  CDirectory directory_entry_;
  CLink link_entry_;
  const CDirEntry* entry_ = nullptr;  // the one that was read last
  bool data_wait_ = false;            // its last block was neither read nor passed over
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ARCHIVE_READER_H_

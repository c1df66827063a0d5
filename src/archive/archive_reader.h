// The entries of an archive of the format of this program, as a run wants them: with names in the
// local code page, in the form that the options ask for, and with progress. CArchiveParser takes
// the archive apart, and its failures are those of this class.
//
// CParallelSource uses it to read ahead: ReadEntry and the parser defer their failures
// (deferred_failure.h). The functions that IEntrySource asks for throw them at once.
#ifndef MOLDEX_ARCHIVE_ARCHIVE_READER_H_
#define MOLDEX_ARCHIVE_ARCHIVE_READER_H_

#include <cstdint>
#include <span>
#include <string>

#include "archive/archive_parser.h"
#include "archive/entry_kinds.h"
#include "archive/entry_source.h"
#include "platform/file_handle.h"
#include "run/run_context.h"

namespace moldex {

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
  // Throws ChecksumFailure and SurplusDataFailure.
  void CheckEnd() override;
  void Rewind() override;
  const FileIdentity& identity() const override { return identity_; }

  // The same as NextEntry, but defers its failures and shows no progress by name.
  CDirEntry* ReadEntry();
  // For the blocks of the entry that ReadEntry gave, and for the place in the archive.
  CArchiveParser& parser() { return parser_; }

 private:
  bool ReadHeader();
  std::string NameOf(std::span<const std::uint8_t> stored) const;

  CRunContext& context_;
  FileIdentity identity_;
  CArchiveParser parser_;
  CSourceEntry source_entry_;
  bool has_header_ = false;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ARCHIVE_READER_H_

// The entries of an archive of the format of this program, as a run wants them: with names in the
// local code page, in the form that the options ask for, and with progress. CArchiveParser takes
// the archive apart, and its failures are those of this class.
//
// CParallelSource uses it to read ahead, and the functions for that defer their failures
// (deferred_failure.h). Those that IEntrySource asks for throw them at once.
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
  // Throws CChecksumExcept and CSurplusDataExcept.
  void CheckEnd() override;
  void Rewind() override;
  const FileIdentity& identity() const override { return identity_; }

  const std::string& name() const { return parser_.archive_name(); }

  // The same as NextEntry, but defers its failures and shows no progress by name.
  CDirEntry* ReadEntry();
  // The entry that was read last.
  const std::string& EntryName() const { return parser_.entry().name; }
  // See CArchiveParser.
  std::uint64_t Position() const { return parser_.Position(); }
  DataBlock GetEntryData() { return parser_.NextBlock(); }
  bool DataFollows() { return parser_.BlockFollows(); }
  // Goes back to the current entry, as if it had just been read. The archive has to be a regular
  // file.
  void ReturnToEntry();

  // The end of the last entry that the caller went on from, and the name of that entry: nothing was
  // found wrong up to there. Before the first entry, the end of the archive's header and no name.
  std::uint64_t whole_bytes() const { return parser_.whole_bytes(); }
  const std::string& whole_name() const { return parser_.whole_name(); }

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

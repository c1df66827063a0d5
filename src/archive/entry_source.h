// The entries of an archive of any format, one after another, for listing, verification and
// extraction.
//
// An archive in the format of this program is read by CArchiveReader, an old one by the module
// oldformat. Failures are CExcept that carry the name of the archive or of the entry.
#ifndef MOLDEX_ARCHIVE_ENTRY_SOURCE_H_
#define MOLDEX_ARCHIVE_ENTRY_SOURCE_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/file_status.h"

namespace moldex {

class CDirEntry;

// Uncompressed bytes of an entry.
struct DataPiece {
  std::span<const std::uint8_t> bytes;
  bool is_backup_stream = false;  // of the file (backup_stream.h), rather than its bytes
};

// The reason why no option can make extraction restore an entry.
struct LeftOut {
  std::string message;
  int code;  // an error code (error_codes.h)
};

class IEntrySource {
 public:
  virtual ~IEntrySource() = default;

  // The first entry, and then each next one, however much was read of the one before; null at the
  // end. An entry stays the source's and is valid until the next call.
  virtual CDirEntry* NextEntry() = 0;

  // The next piece of the entry's data, decompressed; empty after the last, once the data have
  // proved to be as long as the entry says. Valid until the next call.
  virtual DataPiece NextPiece() = 0;

  // After the last piece: checks what the archive keeps to prove the data, such as a checksum.
  virtual void CheckEnd() = 0;

  // Empty for an entry that extraction can restore.
  virtual std::optional<LeftOut> WhyLeftOut() const { return std::nullopt; }

  // Goes back to the start, for another walk over the entries. Nothing is reported about an entry
  // twice. The archive has to be a regular file.
  virtual void Rewind() = 0;

  virtual const FileIdentity& identity() const = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_SOURCE_H_

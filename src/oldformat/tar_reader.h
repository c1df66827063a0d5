// Reads a tar archive front to back, entry by entry.
//
// Knows Unix version 7, ustar, GNU and pax archives, and puts together several headers of one
// entry. Chooses and converts nothing. An archive ends with a block of zeros (writers make two) or
// at the end of its file. Memory stays the same however long the archive is.
//
// Failures are CExcept that carry the archive's name: it is damaged, ends too early or cannot be
// read.
#ifndef MOLDEX_OLDFORMAT_TAR_READER_H_
#define MOLDEX_OLDFORMAT_TAR_READER_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "oldformat/pax_records.h"
#include "oldformat/tar_header.h"
#include "platform/buffered_reader.h"
#include "platform/file_handle.h"
#include "report/progress.h"

namespace moldex {

class CTarReader {
 public:
  // Throws COpenExcept.
  CTarReader(std::string archive_name, CProgress& progress);

  // Whether the file begins with a header. (One of zeros is none: an archive without entries
  // cannot be told from a file that was lost.)
  bool IsTar();

  // The next entry, however much was read of the data of the one before; empty at the end. Its name
  // and kind come from all its headers together.
  std::optional<TarHeader> Next();

  // The next piece of the entry's data; empty after the last. Valid until the next call. Where the
  // file ends too early, the bytes that are there come before the failure.
  std::span<const std::uint8_t> Data();

  // Goes back to the start.
  void Rewind();

  const FileIdentity& identity() const { return identity_; }

 private:
  // Fields from headers that precede the entry's own.
  struct Announced {
    std::optional<std::string> name;
    std::optional<std::string> link_target;
    PaxRecords records;
    bool any = false;
  };

  static void Apply(Announced announced, TarHeader* header);
  bool ReadAnnouncement(TarKind kind, Announced* announced);
  std::optional<TarBlock> ReadBlock();
  bool DataFollow();
  TarBlock ReadWholeBlock();
  std::optional<TarHeader> ReadHeader();
  void BeginData(std::uint64_t bytes);
  void SkipData();
  std::string ReadRecord();
  void ReadRecords(PaxRecords* records);
  void ReadDefaults();
  [[noreturn]] void FailDamaged() const;
  [[noreturn]] void FailTooLong(std::uint64_t bytes) const;
  [[noreturn]] void FailShort() const;

  std::string archive_name_;
  CProgress& progress_;
  CFileHandle file_;
  FileIdentity identity_;
  std::optional<CBufferedReader> reader_;
  std::optional<std::int64_t> default_seconds_;  // of entries without records of their own
  std::uint64_t header_position_ = 0;            // of the last header
  std::uint64_t data_left_ = 0;
  std::uint64_t padding_ = 0;  // after the data
  bool ended_ = false;
};

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_TAR_READER_H_

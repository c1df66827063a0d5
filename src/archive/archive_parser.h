// Takes an archive of the format of this program apart, front to back: header, entries, data
// blocks, data.
//
// It has no part in a run: it knows neither options nor progress nor the local code page, and it
// touches nothing outside itself. So it serves CArchiveReader and, in other programs, moldexread.
// Its failures are deferred ones (deferred_failure.h). Every operation fails with CReadExcept, with
// the archive's name, when the archive ends or fails too early. Memory stays the same however long
// the archive is.
#ifndef MOLDEX_ARCHIVE_ARCHIVE_PARSER_H_
#define MOLDEX_ARCHIVE_ARCHIVE_PARSER_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "archive/archive_format.h"
#include "archive/entry_data.h"
#include "archive/entry_source.h"
#include "platform/buffered_reader.h"
#include "platform/file_handle.h"
#include "report/except.h"
#include "report/progress.h"

namespace moldex {

// A block whose length no writer can have written. The start of the next block is unknown then.
class CBlockLengthExcept : public CExcept {
 public:
  explicit CBlockLengthExcept(const std::string& message) : CExcept(Text(message)) {}
  static FailureText Text(const std::string& message);
};

// An entry without its data.
struct StoredEntry {
  EntryHeader header;
  std::string name;  // in the form that the parser was asked for
  std::vector<std::uint8_t> user_data;
  bool link_has_data = false;  // only for a link

  // Whether blocks have to follow.
  bool NeedsData() const { return AnnouncesData(header, link_has_data); }
  // Its user data are the target.
  bool IsSymbolicLink() const { return header.type == kTypeLink && !NeedsData(); }
};

class CArchiveParser {
 public:
  // Makes the name that is given out of a stored one, which has no zero byte. May fail.
  using NameForm = std::function<std::string(std::span<const std::uint8_t>)>;

  // `file` stands at its start. It stays the caller's and outlives the parser; so does `progress`.
  CArchiveParser(CFileHandle& file, std::string archive_name, NameForm name_form,
                 CProgress* progress = nullptr);
  CArchiveParser(const CArchiveParser&) = delete;
  CArchiveParser& operator=(const CArchiveParser&) = delete;

  // Whether this is a version-2 archive: it has the header of one, and anything after the header
  // may begin an entry. Reads only once. Defers CShortArchiveExcept.
  bool ReadHeader();
  // After ReadHeader.
  bool long_names() const { return long_names_; }

  // The first entry, and then each next one, however much was read of the one before; null at the
  // end, and for an archive that is no version-2 archive. Valid until the next call.
  const StoredEntry* NextEntry();

  // The next block of the current entry. Defers a CExcept for bytes that are no block, and
  // CBlockLengthExcept for a block that is empty or too long, before its payload is read.
  DataBlock NextBlock();
  // The place in the archive of what is read next.
  std::uint64_t Position() const { return reader_->Position(); }
  // Whether a block comes next.
  bool BlockFollows();

  // The next piece of the entry's data, decompressed; empty after the last, once the data have
  // proved to be as long as the entry says. Valid until the next call.
  DataPiece NextPiece();
  // After the last piece. Defers ChecksumFailure and SurplusDataFailure.
  void CheckEnd();
  // Of the current entry, so far.
  UnpackedBytes Unpacked() const { return data_.Unpacked(); }

  void Rewind();
  // Goes back to the current entry, as if it had just been read. The archive has to be a regular
  // file, here and for Rewind.
  void ReturnToEntry();

  const std::string& archive_name() const { return archive_name_; }
  // The entry that was read last.
  const StoredEntry& entry() const { return entry_; }

  // Whether a failure has left no place to read on from.
  bool IsLost() const { return is_lost_; }
  // Whether the system failed to read from the file.
  bool ReadingFailed() const { return reader_->Failed(); }

  // The end of the last entry that the caller went on from, and the name of that entry: nothing was
  // found wrong up to there. Before the first entry, the end of the archive's header and no name.
  std::uint64_t whole_bytes() const { return whole_bytes_; }
  const std::string& whole_name() const { return whole_name_; }

 private:
  template <typename Failure, typename... Arguments>
  [[noreturn]] void Lose(Arguments... arguments);
  [[noreturn]] void LoseAtEnd();
  void Restart();
  std::span<const std::uint8_t> ReadExactly(std::size_t count);
  std::optional<EntryType> ReadType();
  void LeaveEntry();
  void SkipBlock(bool last);
  void Skip(std::uint64_t distance);
  void ReadEntryOf(const EntryType& type);
  void ReadName(std::size_t length);

  CFileHandle& file_;
  std::string archive_name_;
  NameForm name_form_;
  CProgress* progress_;
  std::optional<CBufferedReader> reader_;
  std::optional<bool> is_version2_;  // empty until ReadHeader
  bool long_names_ = false;
  bool is_lost_ = false;
  std::uint64_t whole_bytes_ = 0;
  std::string whole_name_;
  CEntryData data_;
  std::uint64_t entry_start_ = 0;
  StoredEntry entry_;
  bool has_entry_ = false;  // false before the first
  bool data_wait_ = false;  // the entry's last block was neither read nor passed over
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ARCHIVE_PARSER_H_

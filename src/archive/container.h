// The open archive: the container that every command reads or writes.
//
// An archive is an 8-byte header (magic "VUK " or, in long-name mode, "VUK\0", then "2.00") and
// entries back to back up to the end of the file. An entry is its fixed header (entry_header.h),
// its name in UTF-8 with a terminating zero, its user data, and, when it has data, a chain of
// blocks: 2 bytes type ("DA", or "ED" for the last), 4 bytes payload length, the payload; the
// last is followed by a 4-byte checksum (checksum.h).
//
// A container either reads or writes. Failures are CExcept that carry the archive's name.
#ifndef MOLDEX_ARCHIVE_CONTAINER_H_
#define MOLDEX_ARCHIVE_CONTAINER_H_

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "archive/entry_header.h"
#include "archive/entry_kinds.h"
#include "platform/buffered_reader.h"
#include "platform/buffered_writer.h"
#include "platform/file_handle.h"
#include "report/error_codes.h"
#include "report/except.h"

namespace moldex {

inline constexpr std::size_t kArchiveHeaderBytes = 8;
inline constexpr std::size_t kBlockHeaderBytes = 6;

// The largest payload that a block may have.
inline constexpr std::size_t kLargestPayload = 65536;

// One data block as it stands in the archive.
struct DataBlock {
  std::span<const std::uint8_t> payload;  // valid until the next call on the container
  bool more_follow = false;
  std::uint32_t checksum = 0;  // of the whole entry, behind its last block only
};

// A block whose length no writer can have written: where the next one begins is unknown.
class CBlockLengthExcept : public CExcept {
 public:
  explicit CBlockLengthExcept(const std::string& message)
      : CExcept(message, kErrorBadLength, false) {}
};

class CContainer {
 public:
  // The upper byte is what the file is opened with (file_handle.h).
  enum OpenMode : std::uint32_t {
    kRead = 0,
    kNewArchive = 0x60000000,
    kAppend = 0x50000000,
  };

  // Opens the archive. Throws COpenExcept. In append mode it also reads the header, which throws
  // CSetFilePointerExcept, CReadExcept, and CInvalExcept for anything but a version-2 archive;
  // nothing of the file is changed until something is written.
  CContainer(const std::string& archive_name, std::uint32_t mode);
  // Closes. What was not written out by Finish or KeepWholeEntries is lost.
  ~CContainer() = default;
  CContainer(const CContainer&) = delete;
  CContainer& operator=(const CContainer&) = delete;

  const std::string& name() const { return archive_name_; }

  // --- Writing. Every operation throws CWriteExcept when the archive takes less than was given,
  // and CInterruptExcept when the run is to end.

  // The header of a new archive.
  void WriteHeader();
  // An entry's header, name and user data; the lengths in the header are set from the latter two.
  void WriteEntry(EntryHeader header, const std::string& utf8_name,
                  std::span<const std::uint8_t> user_data);
  // Where the next entry's header will stand, as far as 32 bits can tell.
  std::uint32_t Position() const { return static_cast<std::uint32_t>(position_); }
  // Rewrites the size of an entry whose header stands at `header_position`, and the four bytes
  // behind it with zeros. Throws CSetFilePointerExcept, leaving the archive as it is, when the
  // archive has grown past what a 32-bit position can reach.
  void PatchEntrySize(std::uint32_t header_position, std::uint32_t size_bytes);
  // Bytes of an entry's data section, in one piece.
  void Write(std::span<const std::uint8_t> bytes);
  // Says that everything of the entry was given to Write.
  void EndEntry();
  // Writes out what is buffered and closes the archive.
  void Finish();
  // Cuts the archive back to the length that it had when it was opened, a new one to nothing; what
  // is no regular file stays as it is.
  void CutBack();
  // After a failure: cuts the archive back to the end of the last entry that is there as a whole,
  // and closes it. Returns lines that say what of this failed, too; throws nothing of its own. What
  // is no regular file stays as it is.
  std::vector<std::string> KeepWholeEntries();
  // Deletes the archive, whose name this is, also after it was closed. False when something else
  // has the name by now, and when the system refuses.
  bool Delete(const std::string& path);
  // Whether KeepWholeEntries has left entries in the archive.
  bool HoldsEntries() const { return whole_bytes_ > kArchiveHeaderBytes; }
  // What the archive's file is, so that it is not put into itself.
  const FileIdentity& identity() const { return identity_; }
  bool IsRegularFile() const { return is_regular_; }

  // --- Reading. Every operation throws CReadExcept when the archive ends or fails too early.

  // Whether this is a version-2 archive: its header is, and what follows, if anything does, may
  // begin an entry. Reads once. The run is in long-name mode then if this archive is.
  bool CheckHeader();
  // The first entry, then one after another whatever was read of the one before; null at the end.
  // An entry is valid until the next call.
  CDirEntry* FirstEntry();
  CDirEntry* NextEntry();
  // Whether the archive is a file that Rewind can go back in; the system's error is remembered
  // where it is not.
  bool CanRewind();
  // Goes back to the start, for another FirstEntry.
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
  void OpenForAppending();
  std::span<const std::uint8_t> ReadExactly(std::size_t count);
  bool ReadType(EntryType* type);
  void NoteWholeEntry();
  void SkipBlock(bool last);
  CDirEntry* ReadEntry(const EntryType& type);
  std::string ReadName(std::size_t length);
  CDirEntry* BuildEntry(const EntryHeader& header, std::string name);

  std::string archive_name_;
  CFileHandle file_;
  FileIdentity identity_;
  bool is_regular_ = false;
  std::uint64_t former_size_bytes_ = 0;
  std::uint64_t position_ = 0;  // where the next byte will be written
  // Ends of entries: of the last one that is on disk, and of those behind it.
  std::deque<std::uint64_t> entry_ends_;
  std::uint64_t whole_bytes_ = 0;
  std::string whole_name_;
  std::optional<CBufferedReader> reader_;
  std::optional<CBufferedWriter> writer_;
  std::vector<std::uint8_t> write_buffer_;
  std::optional<bool> is_version2_;
  std::vector<std::uint8_t> user_data_;
  CFile file_entry_;
  CDirectory directory_entry_;
  CLink link_entry_;
  const CDirEntry* entry_ = nullptr;  // the one that was read last
  bool data_wait_ = false;            // its last block was neither read nor passed over
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CONTAINER_H_

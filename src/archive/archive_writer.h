// Writes the entries of an archive, one after another, and repairs the archive after a failure.
//
// Every operation that writes throws CWriteExcept when the archive takes less than was given, and
// CInterruptExcept when the run is to end. Both carry the archive's name.
#ifndef MOLDEX_ARCHIVE_ARCHIVE_WRITER_H_
#define MOLDEX_ARCHIVE_ARCHIVE_WRITER_H_

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "archive/archive_format.h"
#include "platform/buffered_writer.h"
#include "platform/file_handle.h"

namespace moldex {

class CArchiveWriter {
 public:
  // Takes all memory that Begin needs, so that it can be made before the file is opened and perhaps
  // emptied. `file` stays the caller's and outlives the writer.
  CArchiveWriter(CFileHandle& file, std::string archive_name);
  CArchiveWriter(const CArchiveWriter&) = delete;
  CArchiveWriter& operator=(const CArchiveWriter&) = delete;

  // To be called first. Writing begins at the end of the open file, which is the archive's former
  // size.
  void Begin(const FileStatus& former);

  // The header of a new archive.
  void WriteHeader(bool long_names);
  // An entry's header, name and user data; the lengths in the header are set from the latter two.
  void WriteEntry(EntryHeader header, const std::string& utf8_name,
                  std::span<const std::uint8_t> user_data);
  // The position of the next entry's header, as far as 32 bits can hold it.
  std::uint32_t Position() const { return static_cast<std::uint32_t>(position_); }
  // Rewrites the size of an entry whose header stands at `header_position`, and the four bytes
  // after it with zeros. Throws CSetFilePointerExcept, leaving the archive as it is, when the
  // archive has grown past what a 32-bit position can reach.
  void PatchEntrySize(std::uint32_t header_position, std::uint32_t size_bytes);
  // Bytes of an entry's data section, in one piece.
  void Write(std::span<const std::uint8_t> bytes);
  // To be called after everything of the entry was given to Write.
  void EndEntry();
  // Writes out what is buffered and closes the archive.
  void Finish();

  // Cuts the archive back to the length that it had when it was opened, a new one to nothing.
  // Changes nothing unless it is a regular file.
  void CutBackToFormer();
  // After a failure: cuts the archive back to the end of its last whole entry and closes it. If
  // closing the archive was what failed, it is opened again by its name, `path`. Returns a line for
  // each part of this that failed, too; throws nothing of its own. Cuts nothing unless it is a
  // regular file.
  std::vector<std::string> KeepWholeEntries(const std::string& path);
  // Deletes the archive, whose name is `path`, even if it was closed. False when something else has
  // the name by now, and when the system refuses.
  bool Delete(const std::string& path);

  // The end of the last whole entry, and whether there is such an entry. Known after
  // KeepWholeEntries.
  std::uint64_t whole_bytes() const { return whole_bytes_; }
  bool HoldsEntries() const { return whole_bytes_ > kArchiveHeaderBytes; }

 private:
  bool IsRegularFile() const { return former_.kind == FileKind::kRegular; }

  CFileHandle& file_;
  std::string archive_name_;
  FileStatus former_;
  CBufferedWriter writer_;
  std::vector<std::uint8_t> entry_buffer_;
  std::uint64_t position_ = 0;  // where the next byte will be written
  // Ends of entries: of the last one that is on disk, and of those after it.
  std::deque<std::uint64_t> entry_ends_;
  std::uint64_t whole_bytes_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ARCHIVE_WRITER_H_

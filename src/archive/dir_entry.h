// One archived object: what is common to files, directories and links.
//
// An entry either goes into an archive, built from a name on disk and its status, or comes out of
// one, filled by an entry source.
#ifndef MOLDEX_ARCHIVE_DIR_ENTRY_H_
#define MOLDEX_ARCHIVE_DIR_ENTRY_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "archive/entry_header.h"
#include "platform/file_handle.h"
#include "platform/file_status.h"

namespace moldex {

class CLink;
class CLogMan;
class IEntrySink;
class IEntrySource;

// The settings that decide how objects become entries.
struct EntrySettings {
  bool keep_links = false;                   // links are stored as themselves
  bool long_names = false;                   // the mode of the archive
  std::optional<std::uint32_t> permissions;  // for every entry, instead of its own
};

class CDirEntry {
 public:
  // An entry for a source to fill.
  CDirEntry() = default;
  // An entry for the object `disk_name`.
  CDirEntry(std::string disk_name, const FileStatus& status);
  virtual ~CDirEntry() = default;
  CDirEntry(const CDirEntry&) = delete;
  CDirEntry& operator=(const CDirEntry&) = delete;

  // --- Out of an archive.

  void Fill(const EntryHeader& header, std::string_view name,
            std::span<const std::uint8_t> user_data);

  // Hands this entry, which `source` has just given out, to a sink: first the object to make, then
  // its data. Proves that the data are whole and match their checksum. Throws what the source and
  // the sink throw, and CInterruptExcept.
  void Extract(IEntrySource& source, IEntrySink& sink) const;

  // Has the sink make the object: a file, or a directory.
  virtual void Create(IEntrySink& sink) const;

  // --- Into an archive.

  // Looks the object up a last time, opens it if it has data, and fills the header. False when it
  // cannot be read; another call may follow then.
  virtual bool Prepare(const EntrySettings& settings) = 0;

  // Whether data have to follow the header. Only for an entry that is prepared and open.
  bool HasDataToStore() const { return header_.size_bytes() != 0 && file_.IsValid(); }

  // The size in the header: of the data as they are stored.
  void SetSize(std::uint64_t bytes) { header_.set_size_bytes(bytes); }

  // --- Both.

  // One line of a listing.
  void Print(CLogMan& log) const;

  virtual bool IsDirectory() const { return false; }
  // Whether blocks have to follow this entry. Only for an entry that comes out of an archive.
  virtual bool NeedsData() const { return header_.size_bytes() != 0; }
  // Whether it cannot be extracted because its bytes are not in the archive.
  virtual bool LacksData() const { return false; }
  // This entry, when it comes out of an archive and becomes a symbolic link on disk.
  virtual const CLink* AsSymbolicLink() const { return nullptr; }
  bool IsShortcut() const { return (header_.mode & kModeKindMask) == kModeShortcut; }

  // The name on disk; of an entry out of an archive, its name there.
  const std::string& GetName() const { return disk_name_; }
  const EntryHeader& header() const { return header_; }
  std::span<const std::uint8_t> user_data() const { return user_data_; }
  CFileHandle& file() { return file_; }

 protected:
  // Fills the header from the status, in long-name mode from the attributes; with the permissions
  // of -p where they are given.
  void FillHeader(const EntryType& type, const EntrySettings& settings);
  const FileStatus& status() const { return status_; }
  void SetMode(std::uint32_t mode) { header_.mode = mode; }
  void SetUserData(std::span<const std::uint8_t> bytes) {
    user_data_.assign(bytes.begin(), bytes.end());
  }
  // Opens the file for reading and takes its status from there. False also for a file that has
  // bytes although its size is 0, and, where links are kept, when another object has the name by
  // now.
  bool OpenForReading(bool keep_links);

 private:
  bool IsEmpty();
  void FillFromAttributes();

  std::string disk_name_;
  FileStatus status_;
  EntryHeader header_;
  std::vector<std::uint8_t> user_data_;
  CFileHandle file_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_DIR_ENTRY_H_

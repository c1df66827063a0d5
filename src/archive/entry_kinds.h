// The kinds of entry: a regular file, a directory, a link. Each knows how to fill its header from
// the object on disk, and what a sink has to make when the entry comes out of an archive.
#ifndef MOLDEX_ARCHIVE_ENTRY_KINDS_H_
#define MOLDEX_ARCHIVE_ENTRY_KINDS_H_

#include <memory>
#include <string>

#include "archive/dir_entry.h"

namespace moldex {

class CFile : public CDirEntry {
 public:
  using CDirEntry::CDirEntry;

  bool Prepare(const EntrySettings& settings) override;
};

class CDirectory : public CDirEntry {
 public:
  using CDirEntry::CDirEntry;

  bool Prepare(const EntrySettings& settings) override;
  void Create(IEntrySink& sink) const override;
  bool IsDirectory() const override { return true; }
  bool NeedsData() const override { return false; }
};

// A link that is stored as itself: a symbolic link with its target as user data ("LK"), or a
// shortcut file with its bytes ("SC").
class CLink : public CDirEntry {
 public:
  using CDirEntry::CDirEntry;

  bool Prepare(const EntrySettings& settings) override;
  // Makes nothing for a symbolic link, because links are made once all other entries are written.
  void Create(IEntrySink& sink) const override;

  // A link may be stored without data whatever its size says: only the archive tells.
  void SetHasData(bool has_data) { has_data_ = has_data; }
  bool NeedsData() const override { return has_data_ && CDirEntry::NeedsData(); }

  const CLink* AsSymbolicLink() const override { return IsSymbolicLink() ? this : nullptr; }
  bool LacksData() const override;
  // The target of a symbolic link, in the local code page; empty when it has none, or one with a
  // zero byte in it. Throws CConversionExcept.
  std::string Target() const;

 private:
  bool IsSymbolicLink() const;
  bool PrepareSymbolicLink(const EntrySettings& settings);

  bool has_data_ = false;
};

// The entry that a source gives out: an object of each kind, one of which is in use.
class CSourceEntry {
 public:
  // Fills the object that the header's type asks for; null for an unknown type. `has_data` counts
  // only for a link.
  CDirEntry* Fill(const EntryHeader& header, std::string_view name,
                  std::span<const std::uint8_t> user_data, bool has_data);

 private:
  CDirEntry* ObjectFor(const EntryType& type);

  CFile file_;
  CDirectory directory_;
  CLink link_;
};

// The entry for an object that a walk found; a shortcut file is a link when links are stored as
// themselves. Throws CExcept for an object that no entry can hold.
std::unique_ptr<CDirEntry> MakeEntry(const std::string& disk_name, const FileStatus& status,
                                     bool keep_links);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_KINDS_H_

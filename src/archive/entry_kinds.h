// The kinds of entry: a regular file, a directory, a link.
#ifndef MOLDEX_ARCHIVE_ENTRY_KINDS_H_
#define MOLDEX_ARCHIVE_ENTRY_KINDS_H_

#include <memory>
#include <string>

#include "archive/dir_entry.h"

namespace moldex {

class CFile : public CDirEntry {
 public:
  using CDirEntry::CDirEntry;

  bool Prepare() override;
};

class CDirectory : public CDirEntry {
 public:
  using CDirEntry::CDirEntry;

  bool Prepare() override;
  // Creates the directory, or opens one that exists up for its owner (unless -h was given), so that
  // the entries below it can be written.
  void Create() override;
  // Nothing: a directory gets its permissions once everything below it is written.
  void Finish() override {}
  bool IsDirectory() const override { return true; }
};

// A shortcut that is stored as itself, or a symbolic link.
class CLink : public CDirEntry {
 public:
  using CDirEntry::CDirEntry;

  bool Prepare() override;
};

// The entry for an object that a walk found. Throws CExcept for an object that no entry can hold.
std::unique_ptr<CDirEntry> MakeEntry(const std::string& disk_name, const FileStatus& status);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_KINDS_H_

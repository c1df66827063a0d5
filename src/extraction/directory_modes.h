// The permissions of extracted directories. They may forbid writing, so they are applied after
// everything below the directories is written.
#ifndef MOLDEX_EXTRACTION_DIRECTORY_MODES_H_
#define MOLDEX_EXTRACTION_DIRECTORY_MODES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "archive/entry_header.h"
#include "extraction/output_names.h"

namespace moldex {

// A directory gets its permissions after the directories below it, because they may close it even
// to its owner. An archive has a directory before its contents. So the directories that wait are
// nested in one another, and memory does not grow with the archive.
class CDirectoryModes {
 public:
  // Without `set_permissions` only attributes that a system keeps besides them are applied.
  CDirectoryModes(const COutputNames& names, bool set_permissions)
      : names_(names), set_permissions_(set_permissions) {}

  // Applies the waiting directories that this one does not lie below, whatever the spelling of
  // their names. Then this one waits, unless it is the target directory. Throws CChgModExcept.
  void Add(const std::string& name, const EntryHeader& header);
  // Applies the directories that still wait. Throws CChgModExcept.
  void ApplyRest() { ApplyUpTo(""); }

 private:
  struct PendingDirectory {
    std::size_t name_bytes;  // at the start of innermost_
    std::uint32_t mode;
    bool long_names;  // of the archive
  };

  void ApplyUpTo(const std::string& name);
  void Apply(const std::string& path, const PendingDirectory& directory) const;

  const COutputNames& names_;
  bool set_permissions_;
  std::string innermost_;                  // the name of the last directory that waits
  std::vector<PendingDirectory> pending_;  // each below the one before it
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_DIRECTORY_MODES_H_

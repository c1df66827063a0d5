// The permissions of extracted directories, put off until everything below them is written, which
// they may forbid.
#ifndef MOLDEX_EXTRACTION_DIRECTORY_MODES_H_
#define MOLDEX_EXTRACTION_DIRECTORY_MODES_H_

#include <cstdint>
#include <string>
#include <vector>

namespace moldex {

// A directory comes after those below it, because it may be closed to its owner then. As
// directories stand in an archive in front of what is in them, the ones that wait are nested in one
// another, however many there are: memory does not grow with the archive.
class CDirectoryModes {
 public:
  // Without `set_permissions` only attributes are applied that a system keeps besides them.
  CDirectoryModes(bool set_permissions, bool long_names)
      : set_permissions_(set_permissions), long_names_(long_names) {}

  // Applies what waits and does not hold this directory, however either name is written; then this
  // one waits, unless it is the target directory. Throws CChgModExcept.
  void Add(const std::string& name, std::uint32_t mode);
  // Applies what still waits. Throws CChgModExcept.
  void Finish() { ApplyUpTo(""); }

 private:
  struct PendingDirectory {
    std::size_t name_bytes;  // at the start of innermost_
    std::uint32_t mode;
  };

  void ApplyUpTo(const std::string& name);
  void Apply(const std::string& path, std::uint32_t mode) const;

  bool set_permissions_;
  bool long_names_;
  std::string innermost_;                  // the name of the last directory that waits
  std::vector<PendingDirectory> pending_;  // each below the one before it
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_DIRECTORY_MODES_H_

// The place on disk that entries are extracted to: makes files, directories and symbolic links
// there, with the directories above them. One object serves a whole run.
#ifndef MOLDEX_EXTRACTION_OUTPUT_PLACE_H_
#define MOLDEX_EXTRACTION_OUTPUT_PLACE_H_

#include <optional>
#include <string>

#include "base/file_time.h"
#include "extraction/extracted_directories.h"
#include "extraction/output_names.h"
#include "platform/file_handle.h"
#include "platform/file_services.h"
#include "run/options.h"

namespace moldex {

class COutputPlace {
 public:
  // `options` outlive this object.
  explicit COutputPlace(const CCmdLineOptions& options) : options_(options), names_(options) {}
  COutputPlace(const COutputPlace&) = delete;
  COutputPlace& operator=(const COutputPlace&) = delete;

  const COutputNames& names() const { return names_; }

  // An empty file for the entry, open for writing, its missing parent directories created. Throws
  // CCreateDirExcept and COpenForWritingExcept with the output path.
  CFileHandle MakeFile(const std::string& entry_name);

  // Like MakeFile, but only if nothing has the entry's name. Otherwise the file is not open, and
  // nothing but missing parent directories was made; no reason is remembered.
  CFileHandle MakeNewFile(const std::string& entry_name);

  // The directory for the entry; the target directory itself is made if it is missing, and
  // otherwise left alone. Unless -h was given, a new directory is its owner's alone until it gets
  // its permissions, one that exists gets the owner's rights added, and neither may be reached
  // through a symbolic link. Throws CCreateDirExcept, CChgModExcept and CAccessExcept with the
  // output path.
  void MakeDirectory(const std::string& entry_name);

  // Like MakeDirectory, but only if the directory above it is there and nothing has the entry's
  // name. Otherwise false, and nothing has changed; no reason is remembered.
  bool MakeNewDirectory(const std::string& entry_name);

  // The missing parent directories of the entry. Throws CCreateDirExcept with the output path.
  void MakeParents(const std::string& entry_name);

  // The symbolic link for the entry, whose parent directories are there, dated where a time is
  // given. A file or link of that name is replaced, a directory is not. Throws
  // COpenForWritingExcept with the output path.
  void MakeLink(const std::string& entry_name, const std::string& target,
                const std::optional<TimePoint>& time);

  // Whether a directory above the entry, below the directory of -R, is a symbolic link.
  bool HasLinkAbove(const std::string& entry_name) const;

 private:
  bool CreateParents(const std::string& path);
  bool IsBelowLink(const std::string& entry_name);
  std::string DirectoryPath(const std::string& entry_name) const;
  Result<Existence> Make(const std::string& path) const;
  void OpenUp(const std::string& path);

  const CCmdLineOptions& options_;
  COutputNames names_;
  CExtractedDirectories directories_;
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_OUTPUT_PLACE_H_

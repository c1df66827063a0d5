// Where extracted entries go on disk, and how the place is made.
#ifndef MOLDEX_EXTRACTION_OUTPUT_PLACE_H_
#define MOLDEX_EXTRACTION_OUTPUT_PLACE_H_

#include <optional>
#include <string>
#include <string_view>

#include "base/file_time.h"
#include "platform/file_handle.h"

namespace moldex {

// The part of an entry's name that its path on disk ends with: what is left of it below the
// directory of -R, and without -R all of it. What -flat has left never begins with a drive. This is
// the name that rules about entries judge.
std::string WrittenName(const std::string& entry_name);

// The path that an entry of this name is written to: below the directory of -R where one is given
// and the name is relative.
std::string OutputPath(const std::string& entry_name);
// The same below another directory; an empty one is none.
std::string OutputPath(std::string_view target_directory, const std::string& entry_name);

// Whether an entry of this name is the target directory itself, which no entry changes.
bool IsTargetDirectory(const std::string& entry_name);

// An empty file for the entry, open for writing, its missing parent directories created. Throws
// CCreateDirExcept and COpenForWritingExcept with the output path.
CFileHandle CreateOutputFile(const std::string& entry_name);

// The symbolic link for the entry, dated where a time is given. What stood under the name is
// replaced, unless it is a directory. Throws as CreateOutputFile does.
void CreateOutputLink(const std::string& entry_name, const std::string& target,
                      const std::optional<TimePoint>& time);

// Whether a directory above the entry, below the directory of -R, is a symbolic link.
bool HasLinkAbove(const std::string& entry_name);

// The directory for the entry; the target directory itself is made if it is missing, and else left
// alone. Unless -h was given, a new directory is its owner's alone until it gets its permissions,
// one that exists gets the owner's rights added, and neither may be reached through a symbolic
// link. Throws CCreateDirExcept, CChgModExcept and CAccessExcept with the output path.
void CreateOutputDirectory(const std::string& entry_name);

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_OUTPUT_PLACE_H_

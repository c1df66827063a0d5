// Turns the name of an entry into its path on disk, as the options say. Looks nothing up.
#ifndef MOLDEX_EXTRACTION_OUTPUT_NAMES_H_
#define MOLDEX_EXTRACTION_OUTPUT_NAMES_H_

#include <string>
#include <string_view>

#include "run/options.h"

namespace moldex {

class COutputNames {
 public:
  // `options` outlive this object.
  explicit COutputNames(const CCmdLineOptions& options) : options_(options) {}

  // The part of an entry's name that its path on disk ends with: the part that follows the
  // directory of -R, or the whole name without -R. A name that -flat has shortened never begins
  // with a drive. This is the name that rules about entries judge.
  std::string WrittenName(const std::string& entry_name) const;

  // The path that an entry of this name is written to: below the directory of -R where one is given
  // and the name is relative.
  std::string OutputPath(const std::string& entry_name) const;
  // The same below another directory; an empty one is none.
  std::string OutputPath(std::string_view target_directory, const std::string& entry_name) const;

  // The directory of -R; empty without one.
  std::string TargetDirectory() const;

  // Whether an entry of this name is the target directory itself, which no entry changes.
  bool IsTargetDirectory(const std::string& entry_name) const;

 private:
  std::string WithoutDrive(const std::string& entry_name) const;

  const CCmdLineOptions& options_;
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_OUTPUT_NAMES_H_

#include "archive/directory_modes.h"

#include "archive/output_place.h"
#include "platform/file_services.h"
#include "platform/path_rules.h"
#include "report/except.h"

namespace moldex {

void CDirectoryModes::Add(const std::string& name, std::uint32_t mode) {
  std::string above = NormalisedName(SystemPathRules(), name);
  ApplyUpTo(above);
  if (!above.ends_with('/')) above += '/';
  pending_.push_back({std::move(above), name, mode});
}

// From the innermost outward, up to a directory that `name` lies below.
void CDirectoryModes::ApplyUpTo(const std::string& name) {
  while (!pending_.empty() && !name.starts_with(pending_.back().above)) {
    const std::string path = OutputPath(pending_.back().name);
    if (!SetDirectoryModeAt(path, pending_.back().mode, long_names_)) throw CChgModExcept(path);
    pending_.pop_back();
  }
}

}  // namespace moldex

#include "archive/directory_modes.h"

#include "archive/output_place.h"
#include "platform/file_services.h"
#include "report/except.h"

namespace moldex {

void CDirectoryModes::Add(const std::string& name, std::uint32_t mode) {
  ApplyUpTo(name);
  pending_.push_back({name, mode});
}

// From the innermost outward, up to a directory that `name` lies below.
void CDirectoryModes::ApplyUpTo(const std::string& name) {
  while (!pending_.empty() && !name.starts_with(pending_.back().name + "/")) {
    const std::string path = OutputPath(pending_.back().name);
    if (!SetDirectoryModeAt(path, pending_.back().mode, long_names_)) throw CChgModExcept(path);
    pending_.pop_back();
  }
}

}  // namespace moldex

#include "extraction/directory_modes.h"

#include <utility>

#include "base/path_rules.h"
#include "platform/file_services.h"
#include "report/except.h"

namespace moldex {

namespace {

std::string OneSpelling(const std::string& name) {
  const PathRules rules = SystemPathRules();
  const std::string result = NormalisedName(rules, name);
  // On Windows two separators at the start mean a share.
  const bool is_share = rules.is_windows && name.size() > 1 && IsSeparator(rules, name[0]) &&
                        IsSeparator(rules, name[1]);
  return is_share ? '/' + result : result;
}

bool IsBelow(const std::string& name, const std::string& directory) {
  return name.starts_with(directory.ends_with('/') ? directory : directory + '/');
}

}  // namespace

void CDirectoryModes::Add(const std::string& name, const EntryHeader& header) {
  if (names_.IsTargetDirectory(name)) return;
  std::string spelling = OneSpelling(name);
  ApplyUpTo(spelling);
  pending_.push_back({spelling.size(), header.mode, header.has_file_time});
  innermost_ = std::move(spelling);
}

// Goes from the innermost directory outward, up to one that `name` lies below.
void CDirectoryModes::ApplyUpTo(const std::string& name) {
  while (!pending_.empty()) {
    const std::string directory = innermost_.substr(0, pending_.back().name_bytes);
    if (IsBelow(name, directory)) return;
    Apply(names_.OutputPath(directory), pending_.back());
    pending_.pop_back();
  }
}

void CDirectoryModes::Apply(const std::string& path, const PendingDirectory& directory) const {
  const bool applied =
      (!set_permissions_ || SetDirectoryModeAt(path, directory.mode, directory.long_names)) &&
      AddDirectoryAttributesAt(path, directory.mode);
  if (!applied) throw CChgModExcept(path);
}

}  // namespace moldex

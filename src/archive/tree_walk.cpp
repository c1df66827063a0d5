#include "archive/tree_walk.h"

#include <algorithm>
#include <cerrno>

#include "platform/file_services.h"
#include "platform/interrupt.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// A link that leads nowhere, as opposed to a name that the system refuses to look up.
bool IsLinkWithoutTarget(const std::string& name) {
  const int why = LastSystemError().errno_value;
  if (why != ENOENT && why != ELOOP && why != ENOTDIR) return false;
  const auto link = QueryLinkStatus(name);
  return link && link->kind == FileKind::kSymbolicLink;
}

// Whether a walk only starts at this directory, which then has no name to be stored under.
bool IsStart(const std::string& name, const FileStatus& status) {
  if (status.kind != FileKind::kDirectory) return false;
  const PathRules rules = SystemPathRules();
  const std::string_view last = LastComponent(rules, name);
  return last == "." || last == ".." || StoredName(rules, name, false).empty();
}

// Whether a directory was opened and could not be read to its end.
bool IsCutOff(const DirectoryResult& outcome) {
  return !outcome && outcome.error().step != DirectoryFailure::Step::kOpen;
}

std::string WithoutTrailingSeparators(std::string_view name) {
  while (name.size() > 1 && EndsWithSeparator(SystemPathRules(), name))
    name.remove_suffix(1);
  return std::string(name);
}

}  // namespace

void CTreeWalk::WalkNames() {
  for (const std::string& name : options_.file_names) {
    // A file may have a name that looks like a pattern. The name then means that file.
    if (HasWildcard(name) && TestExistence(name) != Existence::kExists) {
      WalkPattern(name);
    } else {
      Walk(name);
    }
  }
  for (const std::string& name : options_.include_names)
    Walk(name);
  only_new_renamings_ = true;
  if (!options_.StoresRenamedNames()) return;
  for (const auto& [old_name, new_name] : options_.rename_map)
    Walk(old_name);
}

void CTreeWalk::Walk(std::string_view name) {
  VisitName(WithoutTrailingSeparators(name));
  DrainLevels();
}

// "*" and "?" in the last part of a name. A pattern that matches nothing is inaccessible.
void CTreeWalk::WalkPattern(std::string_view pattern) {
  const PathRules rules = SystemPathRules();
  const std::string_view last = LastComponent(rules, pattern);
  const std::string directory(pattern.substr(0, pattern.size() - last.size()));
  if (options_.IsExcluded(directory)) return;
  CSortedDirectory names(directory, memory_);
  names.SetFilter([=](const char* name) { return MatchesPattern(rules, last, name); });
  bool matched = false;
  while (const auto name = NextName(names)) {
    matched = true;
    VisitName(directory + *name);
    DrainLevels();
  }
  const DirectoryResult outcome = names.Outcome();
  const bool could_read = outcome.ok();
  if (IsCutOff(outcome)) visitor_.OnCutOffDirectory();
  const std::string text(pattern);
  if ((matched && could_read) || options_.IsExcluded(text)) return;
  visitor_.OnInaccessible(text, could_read ? "no name matches" : nullptr);
}

// Whether a name is to be looked at. An excluded one is not, and a name of the -T file is not
// looked at again after the operands.
bool CTreeWalk::IsMeant(const std::string& name) {
  if (options_.IsExcluded(name)) return false;
  const auto* renaming = options_.FindRenaming(name);
  if (renaming == nullptr) return true;
  const bool is_new = visited_renamings_.insert(renaming).second;
  return is_new || !only_new_renamings_;
}

// Where links are kept, a link that replaces a directory in the meantime must not lead the walk
// elsewhere.
Result<FileStatus> CTreeWalk::Look(const std::string& name, const Level* level) const {
  if (options_.resolve_links) return QueryStatus(name);
  return level != nullptr ? QueryLinkStatusIn(level->identity, name) : QueryLinkStatus(name);
}

std::optional<std::string> CTreeWalk::NextName(CSortedDirectory& directory) {
  auto name = directory.Next();
  const DirectoryResult& outcome = directory.Outcome();
  if (name || outcome || IsCutOff(outcome) || !visitor_.OnFailedCall()) return name;
  directory.TryAgain();
  return directory.Next();
}

// `level` is the directory that the walk has found the name in.
void CTreeWalk::VisitName(const std::string& name, const Level* level) {
  ThrowIfInterrupted();
  if (!IsMeant(name)) return;
  auto status = Look(name, level);
  if (!status && visitor_.OnFailedCall()) status = Look(name, level);
  if (!status) {
    if (IsLinkWithoutTarget(name)) {
      visitor_.OnLinkWithoutTarget(name);
    } else {
      visitor_.OnInaccessible(name, nullptr);
    }
  } else if (status->kind == FileKind::kOther) {
    visitor_.OnInaccessible(name, "neither a file nor a directory");
  } else if (status->kind == FileKind::kDirectory && IsBeingWalked(status->identity)) {
    visitor_.OnLinkWithoutTarget(name);
  } else if (visitor_.OnObject(name, *status, IsStart(name, *status)) &&
             status->kind == FileKind::kDirectory) {
    levels_.emplace_back(name, status->identity, memory_, options_.resolve_links);
  }
}

void CTreeWalk::DrainLevels() {
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (const auto name = NextName(level.names)) {
      VisitName(JoinPath(level.path, *name), &level);
      continue;
    }
    const DirectoryResult outcome = level.names.Outcome();
    const std::string path = std::move(level.path);
    levels_.pop_back();
    if (IsCutOff(outcome)) {
      visitor_.OnCutOffDirectory();
    } else if (!outcome) {
      visitor_.OnInaccessible(path, nullptr);
    }
  }
}

bool CTreeWalk::IsBeingWalked(const FileIdentity& identity) const {
  return std::any_of(levels_.begin(), levels_.end(),
                     [&](const Level& level) { return level.identity == identity; });
}

}  // namespace moldex

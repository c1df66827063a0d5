#include "archive/tree_walk.h"

#include <algorithm>
#include <cerrno>

#include "platform/file_services.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// Memory for the names of all directories being walked. Each level may take half of what the
// levels above it left, so that deep trees and huge directories both fit.
constexpr std::size_t kNamesBudget = 1024 * 1024;
constexpr std::size_t kSmallestBudget = 1024;

// A link that leads nowhere, as opposed to a name that the system refuses to look up.
bool IsLinkWithoutTarget(const std::string& name) {
  const int why = LastSystemError().errno_value;
  if (why != ENOENT && why != ELOOP && why != ENOTDIR) return false;
  const auto link = QueryLinkStatus(name);
  return link && link->kind == FileKind::kSymbolicLink;
}

// Whether this is a directory where a walk only starts, without a name to be stored under.
bool IsStart(const std::string& name, const FileStatus& status) {
  if (status.kind != FileKind::kDirectory) return false;
  const PathRules rules = SystemPathRules();
  const std::string_view last = LastComponent(rules, name);
  return last == "." || last == ".." || StoredName(rules, name, false).empty();
}

[[noreturn]] void FailReading() { throw CExcept("MOLDEX: error in CCreate::ProcessDirectory"); }

std::string WithoutTrailingSeparators(std::string_view name) {
  while (name.size() > 1 && EndsWithSeparator(SystemPathRules(), name))
    name.remove_suffix(1);
  return std::string(name);
}

}  // namespace

void CTreeWalk::Walk(std::string_view name) {
  VisitName(WithoutTrailingSeparators(name));
  DrainLevels();
}

void CTreeWalk::WalkPattern(std::string_view pattern) {
  const PathRules rules = SystemPathRules();
  const std::string_view last = LastComponent(rules, pattern);
  const std::string directory(pattern.substr(0, pattern.size() - last.size()));
  CSortedDirectory names(directory, NextBudget());
  names.SetFilter([=](const char* name) { return MatchesPattern(rules, last, name); });
  bool matched = false;
  while (const auto name = names.Next()) {
    matched = true;
    VisitName(directory + *name);
    DrainLevels();
  }
  if (matched && names.Result() == DirectoryResult::kReadFailed) FailReading();
  if (!matched) visitor_.OnInaccessible(std::string(pattern));
}

void CTreeWalk::VisitName(const std::string& name) {
  ThrowIfInterrupted();
  const auto status = follow_links_ ? QueryStatus(name) : QueryLinkStatus(name);
  if (!status) {
    if (IsLinkWithoutTarget(name)) {
      visitor_.OnLinkWithoutTarget(name);
    } else {
      visitor_.OnInaccessible(name);
    }
  } else if (status->kind == FileKind::kOther) {
    visitor_.OnInaccessible(name);
  } else if (status->kind == FileKind::kDirectory && IsBeingWalked(status->identity)) {
    visitor_.OnLinkWithoutTarget(name);
  } else if (visitor_.OnObject(name, *status, IsStart(name, *status)) &&
             status->kind == FileKind::kDirectory) {
    Enter(name, status->identity);
  }
}

void CTreeWalk::Enter(const std::string& path, const FileIdentity& identity) {
  levels_.push_back({path, identity, CSortedDirectory(path, NextBudget())});
}

void CTreeWalk::DrainLevels() {
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (const auto name = level.names.Next()) {
      VisitName(JoinPath(level.path, *name));
      continue;
    }
    const DirectoryResult result = level.names.Result();
    const std::string path = std::move(level.path);
    levels_.pop_back();
    if (result == DirectoryResult::kCannotOpen) visitor_.OnInaccessible(path);
    if (result == DirectoryResult::kReadFailed) FailReading();
  }
}

bool CTreeWalk::IsBeingWalked(const FileIdentity& identity) const {
  return std::any_of(levels_.begin(), levels_.end(),
                     [&](const Level& level) { return level.identity == identity; });
}

std::size_t CTreeWalk::NextBudget() const {
  std::size_t held = 0;
  for (const Level& level : levels_)
    held += level.names.HeldBytes();
  const std::size_t left = kNamesBudget - std::min(held, kNamesBudget);
  return std::max(left / 2, kSmallestBudget);
}

void WalkNames(CTreeWalk& walk, const CCmdLineOptions& options) {
  for (const std::string& name : options.file_names) {
    // A file may be called like a pattern; it is meant then.
    if (HasWildcard(name) && TestExistence(name) != Existence::kExists) {
      walk.WalkPattern(name);
    } else {
      walk.Walk(name);
    }
  }
  for (const std::string& name : options.include_names)
    walk.Walk(name);
}

}  // namespace moldex

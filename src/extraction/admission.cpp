#include "extraction/admission.h"

#include <optional>
#include <string>

#include "archive/entry_kinds.h"
#include "base/name_rules.h"
#include "platform/file_services.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// Whether the system takes the name as it is written. Below a target directory the name of that
// directory does not count, and the entry's name cannot begin with a drive.
bool HasAllowedName(const std::string& name, const AdmissionRules& admission) {
  const PathRules rules = SystemPathRules();
  const char* target = admission.below_target ? "." : "";
  return !HasDevicePrefix(rules, name) &&
         IsAllowedName(rules, admission.names.OutputPath(target, name));
}

// `name` is the written name.
bool LeavesTarget(const std::string& name, const std::string& link_target) {
  const PathRules rules = SystemPathRules();
  if (HasParentComponent(rules, name)) return true;
  // The root's name never gets a target directory before it.
  if (NormalisedName(rules, name) == "/") return true;
  return LinkLeaves(rules, name, link_target);
}

// Empty when the target has no form in the local code page.
std::optional<std::string> TargetOf(const CLink& link) {
  const CExitStatusGuard guard;
  try {
    return link.Target();
  } catch (const CConversionExcept&) {  // reported with the link's name instead
    return std::nullopt;
  }
}

struct RefusalText {
  const char* text;
  Refusal refusal;
  int code;
};

constexpr RefusalText kTexts[] = {
    {"MOLDEX: no link target for ", Refusal::kNoLinkTarget, kErrorNoLinkTarget},
    {"MOLDEX: link target can not be converted from UTF8: ", Refusal::kBadTarget, kErrorConversion},
    {"MOLDEX: name is not allowed on this system: ", Refusal::kNotAllowed, kErrorNameNotAllowed},
    {"MOLDEX: name leaves the target directory (use -P to allow it): ", Refusal::kLeavesTarget,
     kErrorLeavesTarget},
    {"MOLDEX: entry would replace a file that this run is using: ", Refusal::kIsInUse,
     kErrorReplacesArchive},
};

}  // namespace

Refusal RefusalByName(const CDirEntry& entry, const AdmissionRules& rules) {
  const CLink* link = entry.AsSymbolicLink();
  const auto target = link != nullptr ? TargetOf(*link) : std::string();
  if (!target) return Refusal::kBadTarget;
  if (entry.LacksData() || (link != nullptr && target->empty())) return Refusal::kNoLinkTarget;
  if (!HasAllowedName(entry.GetName(), rules)) return Refusal::kNotAllowed;
  const std::string written_name = rules.names.WrittenName(entry.GetName());
  if (!rules.absolute_paths && LeavesTarget(written_name, *target)) return Refusal::kLeavesTarget;
  // Opening such a file would fail and end the run.
  if (!entry.IsDirectory() && NamesADirectory(SystemPathRules(), written_name)) {
    return Refusal::kNotAllowed;
  }
  return Refusal::kNone;
}

Refusal RefusalByPlace(const CDirEntry& entry, const AdmissionRules& rules) {
  const CSystemErrorGuard guard;  // most entries are not there yet
  const auto status = QueryLinkStatus(rules.names.OutputPath(entry.GetName()));
  const bool is_in_use = status && rules.files_in_use.Holds(status->identity);
  return is_in_use ? Refusal::kIsInUse : Refusal::kNone;
}

Refusal RefusalOf(const CDirEntry& entry, const AdmissionRules& rules) {
  const Refusal refusal = RefusalByName(entry, rules);
  return refusal == Refusal::kNone ? RefusalByPlace(entry, rules) : refusal;
}

void PrintRefusal(Refusal refusal, const CDirEntry& entry, CLogMan& log) {
  for (const RefusalText& row : kTexts) {
    if (row.refusal != refusal) continue;
    CExcept failure(row.text + entry.GetName(), row.code, false);
    log.PrintInfo(failure);
  }
}

}  // namespace moldex

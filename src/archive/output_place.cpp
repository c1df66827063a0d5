#include "archive/output_place.h"

#include <cerrno>

#include "platform/file_services.h"
#include "report/except.h"
#include "report/system_error.h"
#include "run/run_context.h"

namespace moldex {
namespace {

constexpr std::uint32_t kOwnerAll = 0700;

// End of the longest existing prefix of `path` that ends in front of a separator; 0 when even the
// first component is missing, or when the walk reaches the root or a drive.
std::size_t ExistingPrefix(PathRules rules, const std::string& path) {
  std::size_t end = path.size();
  while (end > 0) {
    const std::size_t separator = LastSeparator(rules, std::string_view(path).substr(0, end));
    const std::size_t colon = path.rfind(':', end - 1);
    const bool drive = rules.is_windows && colon != std::string::npos;
    if (separator == std::string::npos || separator == 0 || (drive && colon > separator)) return 0;
    end = separator;
    if (TestExistence(path.substr(0, end)) == Existence::kExists) return end;
  }
  return 0;
}

bool IsDirectory(const std::string& path) {
  const auto status = QueryStatus(path);
  if (status && status->kind == FileKind::kDirectory) return true;
  if (status) RememberErrno(ENOTDIR);
  return false;
}

// Creates the missing directories above the last component.
bool CreateParents(const std::string& path) {
  if (path.empty()) return false;
  const PathRules rules = SystemPathRules();
  const std::size_t existing = ExistingPrefix(rules, path);
  for (std::size_t end = FirstSeparator(rules, path, existing); end != std::string::npos;
       end = FirstSeparator(rules, path, end + 1)) {
    if (end > existing && !CreateDirectoryAt(path.substr(0, end))) return false;
  }
  return true;
}

}  // namespace

std::string OutputPath(const std::string& entry_name) {
  const char* target = CRunContext::GetInstance().options().target_directory;
  return TargetName(SystemPathRules(), target != nullptr ? target : "", entry_name);
}

CFileHandle CreateOutputFile(const std::string& entry_name) {
  const std::string path = OutputPath(entry_name);
  CFileHandle file;
  // Most files go where files went before: look for missing parents only when opening fails.
  const SystemError before = LastSystemError();
  if (!path.empty() && file.Open(path, kOpenCreate | kOpenExtracted)) return file;
  const int why = LastSystemError().errno_value;
  if (path.empty() || why == ENOENT || why == ENOTDIR) {
    RestoreSystemError(before);
    if (!CreateParents(path)) throw CCreateDirExcept(path);
    if (file.Open(path, kOpenCreate | kOpenExtracted)) return file;
  }
  throw COpenForWritingExcept(path);
}

void CreateOutputLink(const std::string& entry_name, const std::string& target,
                      const std::optional<TimePoint>& time) {
  const std::string path = OutputPath(entry_name);
  if (!CreateParents(path)) throw CCreateDirExcept(path);
  if (!CreateSymbolicLink(path, target)) throw COpenForWritingExcept(path);
  if (time) (void)SetLinkDate(path, *time);  // a link's own date is a courtesy
}

std::string_view WrittenName(std::string_view entry_name) {
  const bool below = CRunContext::GetInstance().options().target_directory != nullptr;
  return below ? NameBelowTarget(SystemPathRules(), entry_name) : entry_name;
}

bool HasLinkAbove(const std::string& entry_name) {
  const PathRules rules = SystemPathRules();
  const CSystemErrorGuard guard;
  const std::string name(WrittenName(entry_name));
  for (std::size_t end = FirstSeparator(rules, name); end != std::string::npos;
       end = FirstSeparator(rules, name, end + 1)) {
    if (end == 0) continue;
    const auto status = QueryLinkStatus(OutputPath(name.substr(0, end)));
    if (status && status->kind == FileKind::kSymbolicLink) return true;
  }
  return false;
}

void CreateOutputDirectory(const std::string& entry_name) {
  const std::string path = OutputPath(entry_name);
  switch (TestExistence(path)) {
    case Existence::kExists:
      if (!IsDirectory(path)) throw CCreateDirExcept(path);
      if (!CRunContext::GetInstance().options().set_directory_permissions) return;
      if (!SetPermissionsAt(path, kOwnerAll)) throw CChgModExcept(path);
      return;
    case Existence::kMissing:
      if (!CreateParents(path) || !CreateDirectoryAt(path)) throw CCreateDirExcept(path);
      return;
    case Existence::kUnknown:
      throw CAccessExcept(path);
  }
}

}  // namespace moldex

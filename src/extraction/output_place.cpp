#include "extraction/output_place.h"

#include <cerrno>

#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr std::uint32_t kOwnerAll = 0700;

// End of the longest existing prefix of `path` that ends before a separator; 0 when even the
// first component is missing, or when the walk reaches the root or a drive.
std::size_t ExistingPrefix(const PathRules& rules, const std::string& path) {
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

// Directories are known by one spelling.
std::string Spelling(const std::string& path) { return NormalisedName(SystemPathRules(), path); }

Result<FileStatus> DirectoryStatus(const std::string& path) {
  auto status = QueryStatus(path);
  if (!status || status->kind == FileKind::kDirectory) return status;
  return RememberErrno(ENOTDIR);
}

bool IsLink(const std::string& path) {
  const CSystemErrorGuard guard;
  const auto status = QueryLinkStatus(path);
  return status && status->kind == FileKind::kSymbolicLink;
}

// The path without "/" and "/." at its end, which only mark it as a directory's.
std::string WithoutDirectoryEnd(const PathRules& rules, std::string path) {
  for (;;) {
    std::string_view rest = path;
    if (LastComponent(rules, rest) == ".") rest.remove_suffix(1);
    if (!EndsWithSeparator(rules, rest)) return path;
    rest.remove_suffix(1);
    if (rest.empty() || (rules.is_windows && rest.ends_with(':'))) return path;
    path.resize(rest.size());
  }
}

}  // namespace

// Creates the missing directories above the last component.
bool COutputPlace::CreateParents(const std::string& path) {
  if (path.empty()) return false;
  const PathRules rules = SystemPathRules();
  const std::size_t existing = ExistingPrefix(rules, path);
  if (existing > 0 && !DirectoryStatus(path.substr(0, existing))) return false;
  for (std::size_t end = FirstSeparator(rules, path, existing); end != std::string::npos;
       end = FirstSeparator(rules, path, end + 1)) {
    if (end <= existing) continue;
    const std::string directory = path.substr(0, end);
    if (!CreateDirectoryAt(directory)) return false;
    directories_.NoteMade(Spelling(directory));
  }
  return true;
}

CFileHandle COutputPlace::MakeFile(const std::string& entry_name) {
  const std::string path = names_.OutputPath(entry_name);
  CFileHandle file;
  // Most directories exist already: look for missing ones only when opening fails.
  const SystemError before = LastSystemError();
  const auto opened =
      path.empty() ? RememberErrno(ENOENT) : file.Open(path, kOpenCreate | kOpenExtracted);
  if (opened) return file;
  const int why = opened.error().errno_value;
  if (why == ENOENT || why == ENOTDIR) {
    RestoreSystemError(before);
    if (!CreateParents(path)) throw CCreateDirExcept(path);
    if (file.Open(path, kOpenCreate | kOpenExtracted)) return file;
  }
  throw COpenForWritingExcept(path);
}

CFileHandle COutputPlace::MakeNewFile(const std::string& entry_name) {
  constexpr unsigned kNewFile = kOpenCreate | kOpenExtracted | kOpenNew;
  const CSystemErrorGuard guard;
  const std::string path = names_.OutputPath(entry_name);
  CFileHandle file;
  if (path.empty()) return file;
  const auto opened = file.Open(path, kNewFile);
  const bool lacks_directory = !opened && opened.error().errno_value == ENOENT;
  if (lacks_directory && CreateParents(path)) (void)file.Open(path, kNewFile);
  return file;
}

void COutputPlace::MakeParents(const std::string& entry_name) {
  const std::string path = names_.OutputPath(entry_name);
  if (!CreateParents(path)) throw CCreateDirExcept(path);
}

void COutputPlace::MakeLink(const std::string& entry_name, const std::string& target,
                            const std::optional<TimePoint>& time) {
  const std::string path = names_.OutputPath(entry_name);
  if (!CreateSymbolicLink(path, target)) throw COpenForWritingExcept(path);
  if (time) (void)SetLinkDate(path, *time);  // a link's own date is a courtesy
}

bool COutputPlace::HasLinkAbove(const std::string& entry_name) const {
  const PathRules rules = SystemPathRules();
  const std::string name = names_.WrittenName(entry_name);
  for (std::size_t end = FirstSeparator(rules, name); end != std::string::npos;
       end = FirstSeparator(rules, name, end + 1)) {
    if (end > 0 && IsLink(names_.OutputPath(name.substr(0, end)))) return true;
  }
  return false;
}

// Whether a link leads to the directory that the entry's directory is in. Directories that were
// checked before are not looked up again: no entry turns one into a link.
bool COutputPlace::IsBelowLink(const std::string& entry_name) {
  const std::string name = Spelling(entry_name);
  const std::size_t separator = LastSeparator(SystemPathRules(), name);
  const bool is_known =
      separator != std::string::npos && directories_.IsWithoutLinks(name.substr(0, separator + 1));
  return !is_known && HasLinkAbove(entry_name);
}

// Lets the owner write into an existing directory. Others keep their rights, unless this run has
// made the directory for an entry that came before it.
void COutputPlace::OpenUp(const std::string& path) {
  const auto status = DirectoryStatus(path);
  if (!status) throw CCreateDirExcept(path);
  if (!options_.set_directory_permissions) return;
  const std::uint32_t former = status->mode & kModePermissions;
  const std::uint32_t wanted =
      directories_.HasMade(Spelling(path)) ? kOwnerAll : former | kOwnerAll;
  if (wanted != former && !SetPermissionsAt(path, wanted)) throw CChgModExcept(path);
}

std::string COutputPlace::DirectoryPath(const std::string& entry_name) const {
  return WithoutDirectoryEnd(SystemPathRules(), names_.OutputPath(entry_name));
}

Result<Existence> COutputPlace::Make(const std::string& path) const {
  return options_.set_directory_permissions ? CreatePrivateDirectoryAt(path)
                                            : CreateDirectoryAt(path);
}

bool COutputPlace::MakeNewDirectory(const std::string& entry_name) {
  const CSystemErrorGuard guard;
  if (names_.IsTargetDirectory(entry_name)) return false;
  const bool checks_links = options_.set_directory_permissions;
  if (checks_links && IsBelowLink(entry_name)) return false;
  const auto former = Make(DirectoryPath(entry_name));
  if (!former || *former == Existence::kExists) return false;
  if (checks_links) directories_.NoteWithoutLinks(Spelling(entry_name));
  return true;
}

void COutputPlace::MakeDirectory(const std::string& entry_name) {
  const std::string target = names_.TargetDirectory();
  if (names_.IsTargetDirectory(entry_name)) {
    if (!target.empty() && !CreateParents(JoinPath(target, "."))) throw CCreateDirExcept(target);
    return;
  }
  const std::string path = DirectoryPath(entry_name);
  if (options_.set_directory_permissions) {
    // Through a link, changed permissions would reach another directory.
    if (IsBelowLink(entry_name) || IsLink(path)) {
      RememberErrno(ENOTDIR);
      throw CCreateDirExcept(path);
    }
    directories_.NoteWithoutLinks(Spelling(entry_name));
  }
  const auto existence = TestExistence(path);
  if (!existence) throw CAccessExcept(path);
  if (*existence == Existence::kExists) {
    OpenUp(path);
  } else if (!CreateParents(path) || !Make(path)) {
    throw CCreateDirExcept(path);
  }
}

}  // namespace moldex

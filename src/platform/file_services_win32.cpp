#include "platform/file_services.h"

#include <direct.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <windows.h>

#include <winioctl.h>

#include <array>
#include <cerrno>
#include <vector>

#include "platform/attributes.h"
#include "platform/local_text_win32.h"
#include "platform/long_name.h"
#include "platform/owned_win32.h"
#include "platform/path_calls_win32.h"
#include "platform/reparse_data.h"
#include "platform/system_win32.h"
#include "report/system_error.h"

// The system's headers give its own function of this name two forms.
#undef CreateSymbolicLink

namespace moldex {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// A file, link or directory, open for calls that are told of it by its handle.
OwnedHandle OpenObject(const std::string& path, DWORD access, DWORD flags) {
  return OwnedHandle(
      CallCreateFile(path, access, kShareAll, OPEN_EXISTING, flags | FILE_FLAG_BACKUP_SEMANTICS));
}

std::optional<BY_HANDLE_FILE_INFORMATION> InformationOf(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION record{};
  if (handle == nullptr || GetFileInformationByHandle(handle, &record) == FALSE) {
    return std::nullopt;
  }
  return record;
}

// An object that cannot be opened counts as a different one each time.
FileIdentity IdentityAt(const std::string& path) {
  const auto record = InformationOf(OpenObject(path, 0, 0).get());
  return record ? IdentityOf(*record) : UnknownIdentity();
}

// The runtime library finds no "directory/", only "directory" and the root of a drive.
std::string WithoutTrailingSeparators(std::string path) {
  const std::size_t shortest = path.size() > 1 && path[1] == ':' ? 3 : 1;
  while (path.size() > shortest && EndsWithSeparator(SystemPathRules(), path))
    path.pop_back();
  return path;
}

Result<FileStatus> RuntimeStatus(const std::string& path) {
  struct _stati64 record {};
  const auto known = RuntimeResultOf(CallStat(path, &record));
  if (!known) return known.error();
  FileStatus status;
  status.mode = record.st_mode;
  status.kind = FileKind::kOther;
  if ((status.mode & kModeKindMask) == kModeRegular) status.kind = FileKind::kRegular;
  if ((status.mode & kModeKindMask) == kModeDirectory) status.kind = FileKind::kDirectory;
  if (status.kind == FileKind::kRegular) {
    status.size_bytes = static_cast<std::uint64_t>(record.st_size);
  }
  status.modified.seconds = record.st_mtime;
  status.attributes = CallGetFileAttributes(path);
  return status;
}

FileStatus StatusOfFound(const WIN32_FIND_DATAW& data, const std::string& path) {
  return StatusOf(data.dwFileAttributes, Joined(data.nFileSizeHigh, data.nFileSizeLow),
                  Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime),
                  path);
}

Result<FileStatus> FoundStatus(const std::string& path) {
  const auto data = FindObject(path);
  if (!data) return RememberSystemError();
  return StatusOfFound(*data, path);
}

// Whether a path that ends like a directory's leads to something else.
bool IsNoDirectoryAfterAll(const std::string& path, const FileStatus& status) {
  return status.kind != FileKind::kDirectory && EndsWithSeparator(SystemPathRules(), path);
}

// Systems before Windows 10 1703 refuse a flag that they do not know.
bool MakeSymbolicLink(const std::string& path, const std::string& target, DWORD flags) {
  constexpr DWORD kUnprivileged = SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE;
  if (CallCreateSymbolicLink(path, target, flags | kUnprivileged)) return true;
  return GetLastError() == ERROR_INVALID_PARAMETER && CallCreateSymbolicLink(path, target, flags);
}

}  // namespace

FileIdentity UnknownIdentity() {
  static std::uint64_t count = 0;
  return {FileIdentity::kUnknownDevice, ++count};
}

FileIdentity IdentityOf(const BY_HANDLE_FILE_INFORMATION& record) {
  const std::uint64_t number = Joined(record.nFileIndexHigh, record.nFileIndexLow);
  if (number == 0 || number == UINT64_MAX) return UnknownIdentity();
  return {record.dwVolumeSerialNumber, number};
}

Result<void> ResultOf(BOOL returned) {
  if (returned == FALSE) return RememberSystemError();
  return {};
}

Result<void> RuntimeResultOf(int returned) {
  if (returned != 0) return RememberErrno(errno);
  return {};
}

FileStatus StatusOf(std::uint32_t attributes, std::uint64_t size_bytes, std::uint64_t file_time,
                    const std::string& name) {
  FileStatus status;
  status.attributes = attributes;
  status.mode = RuntimeModeOf(attributes, name);
  status.kind = FileKind::kRegular;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) status.kind = FileKind::kDirectory;
  if ((attributes & FILE_ATTRIBUTE_DEVICE) != 0) status.kind = FileKind::kOther;
  if (status.kind == FileKind::kRegular) status.size_bytes = size_bytes;
  status.modified = TimeOfFileTime(file_time).value_or(TimePoint{});
  return status;
}

PathRules SystemPathRules() {
  static const PathRules rules{true, DoubleByteTest(), FoldAsTheSystem};
  return rules;
}

// The runtime library takes the "?" of "\\?\" for a pattern.
Result<FileStatus> QueryStatus(const std::string& path) {
  const bool by_search = LongNameMode() || HasDevicePrefix(PathRules::kWindows, path);
  auto status = by_search ? FoundStatus(path) : RuntimeStatus(WithoutTrailingSeparators(path));
  if (!status) return status;
  if (IsNoDirectoryAfterAll(path, *status)) return RememberErrno(ENOTDIR);
  status->identity = IdentityAt(path);
  return status;
}

Result<FileStatus> QueryLinkStatus(const std::string& path) {
  const auto data = FindObject(path);
  if (!data || !IsSymbolicLink(*data)) return QueryStatus(path);
  FileStatus status = StatusOfFound(*data, path);
  status.kind = FileKind::kSymbolicLink;
  status.identity = UnknownIdentity();
  return status;
}

Result<FileStatus> QueryLinkStatusIn(const FileIdentity& directory, const std::string& path) {
  const std::size_t last = LastSeparator(SystemPathRules(), path);
  const auto parent = QueryStatus(last == std::string::npos ? "." : path.substr(0, last + 1));
  if (parent && parent->identity.Excludes(directory)) return RememberErrno(ENOENT);
  return QueryLinkStatus(path);
}

std::optional<FileStatus> StandardStreamStatus(StandardStream stream) {
  const HANDLE handle =
      GetStdHandle(stream == StandardStream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
  if (GetFileType(handle) != FILE_TYPE_DISK) return std::nullopt;
  const auto record = InformationOf(handle);
  if (!record) return std::nullopt;
  FileStatus status;
  status.kind = FileKind::kRegular;
  status.identity = IdentityOf(*record);
  return status;
}

Result<Existence> TestExistence(const std::string& path) {
  if (CallAccess(path) == 0) return Existence::kExists;
  if (errno == ENOENT) return Existence::kMissing;
  return RememberErrno(errno);
}

Result<Existence> CreateDirectoryAt(const std::string& path) {
  if (CallCreateDirectory(path)) return Existence::kMissing;
  if (GetLastError() != ERROR_ALREADY_EXISTS) return RememberSystemError();
  // Opening it follows links. A link's own attributes only tell what it was made for.
  const auto record = InformationOf(OpenObject(path, 0, 0).get());
  const bool is_directory = record && (record->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  if (!is_directory) return RememberErrno(ENOTDIR);
  return Existence::kExists;
}

// A directory takes its rights from the one that it is in.
Result<Existence> CreatePrivateDirectoryAt(const std::string& path) {
  return CreateDirectoryAt(path);
}

Result<std::string> ReadSymbolicLink(const std::string& path) {
  std::array<std::uint8_t, MAXIMUM_REPARSE_DATA_BUFFER_SIZE> buffer{};
  const OwnedHandle link = OpenObject(path, 0, FILE_FLAG_OPEN_REPARSE_POINT);
  DWORD length = 0;
  if (!link || DeviceIoControl(link.get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, buffer.data(),
                               static_cast<DWORD>(buffer.size()), &length, nullptr) == FALSE) {
    return RememberSystemError();
  }
  const auto target = SymbolicLinkTarget(std::span(buffer).first(length));
  if (!target) return RememberErrno(EINVAL);
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  const auto local = ToLocal({reinterpret_cast<const wchar_t*>(target->data()), target->size()});
  if (!local) return RememberSystemError();
  return WithSlashes(SystemPathRules(), *local);
}

Result<void> CreateSymbolicLink(const std::string& path, const std::string& target) {
  const PathRules rules = SystemPathRules();
  const std::size_t separator = LastSeparator(rules, path);
  const bool absolute = IsAbsolutePath(rules, target);
  const std::string from =
      absolute || separator == std::string::npos ? target : path.substr(0, separator + 1) + target;
  const auto status = QueryStatus(from);
  const bool is_directory = status && status->kind == FileKind::kDirectory;
  const DWORD flags = is_directory ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
  if (MakeSymbolicLink(path, target, flags)) return {};
  if (GetLastError() != ERROR_ALREADY_EXISTS) return RememberSystemError();
  const auto deleted = DeleteFileAt(path);
  return deleted ? ResultOf(MakeSymbolicLink(path, target, flags)) : deleted;
}

Result<void> SetLinkDate(const std::string& path, const TimePoint& time) {
  const FILETIME file_time = ToFileTime(FileTimeOf(time));
  const OwnedHandle link = OpenObject(path, FILE_WRITE_ATTRIBUTES, FILE_FLAG_OPEN_REPARSE_POINT);
  if (!link) return RememberSystemError();
  return ResultOf(SetFileTime(link.get(), nullptr, &file_time, &file_time));
}

Result<double> DiskFreeSpace(const std::string& path) {
  ULARGE_INTEGER free_bytes{};
  if (CallGetDiskFreeSpace(path, &free_bytes)) {
    return static_cast<double>(free_bytes.QuadPart);
  }
  if (GetLastError() == ERROR_CALL_NOT_IMPLEMENTED) return -1.0;
  return RememberSystemError();
}

Result<void> DeleteFileAt(const std::string& path) { return ResultOf(CallDeleteFile(path)); }

Result<void> SetPermissionsAt(const std::string& path, std::uint32_t bits) {
  return RuntimeResultOf(CallChmod(path, static_cast<int>(bits & kModePermissions)));
}

Result<void> SetAttributesAt(const std::string& path, std::uint32_t attributes,
                             bool /*executable*/) {
  return ResultOf(CallSetFileAttributes(path, attributes));
}

Result<void> SetDirectoryModeAt(const std::string& path, std::uint32_t mode, bool /*long_names*/) {
  return SetPermissionsAt(path, mode);
}

Result<void> AddDirectoryAttributesAt(const std::string& path, std::uint32_t mode) {
  const std::uint32_t added = DirectoryAttributesOf(mode);
  if (added == 0) return {};
  const auto data = FindObject(path);
  if (!data) return RememberSystemError();
  return SetAttributesAt(path, data->dwFileAttributes | added, false);
}

Result<std::string> CurrentDirectory() {
  std::array<wchar_t, MAX_PATH + 1> directory{};
  const bool known = _wgetcwd(directory.data(), static_cast<int>(directory.size())) != nullptr;
  const auto local = known ? ToLocal(directory.data()) : std::nullopt;
  if (!local) return RememberErrno(errno);
  return *local;
}

Result<void> ChangeDirectory(const std::string& path) {
  return RuntimeResultOf(CallChangeDirectory(path));
}

Result<void> CanEnterDirectory(const std::string& path) {
  // Kept as the system has it: the current directory's name may have no form in the code page.
  std::vector<wchar_t> here(GetCurrentDirectoryW(0, nullptr));
  const auto space = static_cast<DWORD>(here.size());
  const DWORD length = GetCurrentDirectoryW(space, here.data());
  if (length == 0 || length >= space) return RememberSystemError();
  const auto entered = ChangeDirectory(path);
  return entered ? ResultOf(SetCurrentDirectoryW(here.data())) : entered;
}

}  // namespace moldex

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
#include "platform/path_calls_win32.h"
#include "platform/reparse_data.h"
#include "platform/system_win32.h"
#include "report/system_error.h"

// The system's headers give its own function of this name two forms.
#undef CreateSymbolicLink

namespace moldex {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class COpenObject {
 public:
  COpenObject(const std::string& path, DWORD flags)
      : handle_(CallCreateFile(path, 0, kShareAll, OPEN_EXISTING,
                               flags | FILE_FLAG_BACKUP_SEMANTICS)) {}
  ~COpenObject() {
    if (IsValid()) CloseHandle(handle_);
  }
  COpenObject(const COpenObject&) = delete;
  COpenObject& operator=(const COpenObject&) = delete;

  bool IsValid() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE handle() const { return handle_; }

 private:
  HANDLE handle_;
};

// What cannot be opened to be asked is taken to be a different object each time.
FileIdentity IdentityAt(const std::string& path) {
  BY_HANDLE_FILE_INFORMATION record{};
  const COpenObject object(path, 0);
  const bool known =
      object.IsValid() && GetFileInformationByHandle(object.handle(), &record) != FALSE;
  return known ? IdentityOf(record) : UnknownIdentity();
}

// The runtime library finds no "directory/", only "directory" and the root of a drive.
std::string WithoutTrailingSeparators(std::string path) {
  const std::size_t shortest = path.size() > 1 && path[1] == ':' ? 3 : 1;
  while (path.size() > shortest && EndsWithSeparator(SystemPathRules(), path))
    path.pop_back();
  return path;
}

std::optional<FileStatus> RuntimeStatus(const std::string& path) {
  struct _stati64 record {};
  if (!RuntimeSucceeded(CallStat(path, &record))) return std::nullopt;
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

std::optional<FileStatus> FoundStatus(const std::string& path) {
  const auto data = FindObject(path);
  if (!Succeeded(data.has_value())) return std::nullopt;
  return StatusOfFound(*data, path);
}

// Whether a path ends as only that of a directory may, and leads to something else.
bool IsNoDirectoryAfterAll(const std::string& path, const FileStatus& status) {
  return status.kind != FileKind::kDirectory && EndsWithSeparator(SystemPathRules(), path);
}

// Systems before Windows 10 1703 take no flag that they do not know.
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

bool Succeeded(bool result) {
  if (!result) RememberSystemError();
  return result;
}

bool RuntimeSucceeded(int result) {
  if (result != 0) RememberErrno(errno);
  return result == 0;
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
std::optional<FileStatus> QueryStatus(const std::string& path) {
  const bool by_search = LongNameMode() || HasDevicePrefix(PathRules::kWindows, path);
  auto status = by_search ? FoundStatus(path) : RuntimeStatus(WithoutTrailingSeparators(path));
  if (!status) return std::nullopt;
  if (IsNoDirectoryAfterAll(path, *status)) {
    RememberErrno(ENOTDIR);
    return std::nullopt;
  }
  status->identity = IdentityAt(path);
  return status;
}

std::optional<FileStatus> QueryLinkStatus(const std::string& path) {
  const auto data = FindObject(path);
  if (!data || !IsSymbolicLink(*data)) return QueryStatus(path);
  FileStatus status = StatusOfFound(*data, path);
  status.kind = FileKind::kSymbolicLink;
  status.identity = UnknownIdentity();
  return status;
}

std::optional<FileStatus> QueryLinkStatusIn(const FileIdentity& directory,
                                            const std::string& path) {
  const std::size_t last = LastSeparator(SystemPathRules(), path);
  const auto parent = QueryStatus(last == std::string::npos ? "." : path.substr(0, last + 1));
  if (parent && parent->identity.Excludes(directory)) {
    RememberErrno(ENOENT);
    return std::nullopt;
  }
  return QueryLinkStatus(path);
}

std::optional<FileStatus> StandardStreamStatus(StandardStream stream) {
  const HANDLE handle =
      GetStdHandle(stream == StandardStream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
  BY_HANDLE_FILE_INFORMATION record{};
  if (GetFileType(handle) != FILE_TYPE_DISK ||
      GetFileInformationByHandle(handle, &record) == FALSE) {
    return std::nullopt;
  }
  FileStatus status;
  status.kind = FileKind::kRegular;
  status.identity = IdentityOf(record);
  return status;
}

Existence TestExistence(const std::string& path) {
  if (CallAccess(path) == 0) return Existence::kExists;
  if (errno == ENOENT) return Existence::kMissing;
  RememberErrno(errno);
  return Existence::kUnknown;
}

bool CreateDirectoryAt(const std::string& path) {
  if (CallCreateDirectory(path)) return true;
  if (GetLastError() != ERROR_ALREADY_EXISTS) return Succeeded(false);
  // Opening it follows links, of which the attributes say no more than what they were made for.
  BY_HANDLE_FILE_INFORMATION record{};
  const COpenObject object(path, 0);
  const bool known =
      object.IsValid() && GetFileInformationByHandle(object.handle(), &record) != FALSE;
  if (known && (record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return true;
  RememberErrno(ENOTDIR);
  return false;
}

// A directory takes its rights from the one that it is in.
bool CreatePrivateDirectoryAt(const std::string& path) { return CreateDirectoryAt(path); }

std::optional<std::string> ReadSymbolicLink(const std::string& path) {
  std::array<std::uint8_t, MAXIMUM_REPARSE_DATA_BUFFER_SIZE> buffer{};
  const COpenObject link(path, FILE_FLAG_OPEN_REPARSE_POINT);
  DWORD length = 0;
  if (!Succeeded(link.IsValid() &&
                 DeviceIoControl(link.handle(), FSCTL_GET_REPARSE_POINT, nullptr, 0, buffer.data(),
                                 static_cast<DWORD>(buffer.size()), &length, nullptr) != FALSE)) {
    return std::nullopt;
  }
  const auto target = SymbolicLinkTarget(std::span(buffer).first(length));
  if (!target) {
    RememberErrno(EINVAL);
    return std::nullopt;
  }
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  const auto local = ToLocal({reinterpret_cast<const wchar_t*>(target->data()), target->size()});
  if (!Succeeded(local.has_value())) return std::nullopt;
  return WithSlashes(SystemPathRules(), *local);
}

bool CreateSymbolicLink(const std::string& path, const std::string& target) {
  const PathRules rules = SystemPathRules();
  const std::size_t separator = LastSeparator(rules, path);
  const bool absolute = IsAbsolutePath(rules, target);
  const std::string from =
      absolute || separator == std::string::npos ? target : path.substr(0, separator + 1) + target;
  const auto status = QueryStatus(from);
  const bool is_directory = status && status->kind == FileKind::kDirectory;
  const DWORD flags = is_directory ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
  if (MakeSymbolicLink(path, target, flags)) return true;
  if (GetLastError() != ERROR_ALREADY_EXISTS) return Succeeded(false);
  return DeleteFileAt(path) && Succeeded(MakeSymbolicLink(path, target, flags));
}

bool SetLinkDate(const std::string& path, const TimePoint& time) {
  const std::uint64_t value = FileTimeOf(time);
  const FILETIME file_time = {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
  const HANDLE handle = CallCreateFile(path, FILE_WRITE_ATTRIBUTES, kShareAll, OPEN_EXISTING,
                                       FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT);
  if (!Succeeded(handle != INVALID_HANDLE_VALUE)) return false;
  const bool done = Succeeded(SetFileTime(handle, nullptr, &file_time, &file_time) != FALSE);
  CloseHandle(handle);
  return done;
}

std::optional<double> DiskFreeSpace(const std::string& path) {
  ULARGE_INTEGER free_bytes{};
  if (CallGetDiskFreeSpace(path, &free_bytes)) {
    return static_cast<double>(free_bytes.QuadPart);
  }
  if (GetLastError() == ERROR_CALL_NOT_IMPLEMENTED) return -1;
  RememberSystemError();
  return std::nullopt;
}

bool DeleteFileAt(const std::string& path) { return Succeeded(CallDeleteFile(path)); }

bool SetPermissionsAt(const std::string& path, std::uint32_t bits) {
  return RuntimeSucceeded(CallChmod(path, static_cast<int>(bits & kModePermissions)));
}

bool SetAttributesAt(const std::string& path, std::uint32_t attributes, bool /*executable*/) {
  return Succeeded(CallSetFileAttributes(path, attributes));
}

bool SetDirectoryModeAt(const std::string& path, std::uint32_t mode, bool /*long_names*/) {
  return SetPermissionsAt(path, mode);
}

bool AddDirectoryAttributesAt(const std::string& path, std::uint32_t mode) {
  const std::uint32_t added = DirectoryAttributesOf(mode);
  if (added == 0) return true;
  const auto data = FindObject(path);
  return Succeeded(data.has_value()) &&
         SetAttributesAt(path, data->dwFileAttributes | added, false);
}

std::string CurrentDirectory() {
  std::array<wchar_t, MAX_PATH + 1> directory{};
  const bool known = _wgetcwd(directory.data(), static_cast<int>(directory.size())) != nullptr;
  const auto local = known ? ToLocal(directory.data()) : std::nullopt;
  if (local) return *local;
  RememberErrno(errno);
  return {};
}

bool ChangeDirectory(const std::string& path) {
  return RuntimeSucceeded(CallChangeDirectory(path));
}

bool CanEnterDirectory(const std::string& path) {
  // Kept as the system has it: the current directory's name may have no form in the code page.
  std::vector<wchar_t> here(GetCurrentDirectoryW(0, nullptr));
  const auto room = static_cast<DWORD>(here.size());
  const DWORD length = GetCurrentDirectoryW(room, here.data());
  if (!Succeeded(length != 0 && length < room)) return false;
  return ChangeDirectory(path) && Succeeded(SetCurrentDirectoryW(here.data()) != FALSE);
}

}  // namespace moldex

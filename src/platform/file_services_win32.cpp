#include "platform/file_services.h"

#include <direct.h>
#include <io.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <windows.h>

#include <winioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/attributes.h"
#include "platform/long_name.h"
#include "platform/path_calls_win32.h"
#include "platform/reparse_data.h"
#include "platform/system_win32.h"
#include "report/except.h"
#include "report/system_error.h"

// The system's headers give its own function of this name two forms.
#undef CreateSymbolicLink

namespace moldex {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class COpenObject {
 public:
  COpenObject(const std::string& path, DWORD flags)
      : handle_(CallCreateFile(SystemPath(path), 0, kShareAll, OPEN_EXISTING,
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
FileIdentity IdentityOf(const std::string& path) {
  static std::uint64_t unknown_count = 0;
  BY_HANDLE_FILE_INFORMATION record{};
  const COpenObject object(path, 0);
  if (object.IsValid() && GetFileInformationByHandle(object.handle(), &record) != FALSE) {
    return {record.dwVolumeSerialNumber, Joined(record.nFileIndexHigh, record.nFileIndexLow)};
  }
  return {UINT64_MAX, ++unknown_count};
}

// The runtime library finds no "directory/", only "directory" and the root of a drive.
std::string WithoutTrailingSeparators(std::string path) {
  const std::size_t shortest = path.size() > 1 && path[1] == ':' ? 3 : 1;
  while (path.size() > shortest && IsSeparator(PathRules::kWindows, path.back()))
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

// The entry of the directory that the object is in.
std::optional<WIN32_FIND_DATAA> FindObject(const std::string& path) {
  WIN32_FIND_DATAA data{};
  if (HasWildcard(path.starts_with(R"(\\?\)") ? std::string_view(path).substr(4) : path)) {
    RememberErrno(ENOENT);  // a search would find something else
    return std::nullopt;
  }
  const HANDLE search = CallFindFirstFile(path, &data);
  if (search != INVALID_HANDLE_VALUE) {
    FindClose(search);
    return data;
  }
  // The root of a drive is in no directory.
  WIN32_FILE_ATTRIBUTE_DATA record{};
  if (!Succeeded(GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &record) != FALSE)) {
    return std::nullopt;
  }
  data.dwFileAttributes = record.dwFileAttributes;
  data.ftLastWriteTime = record.ftLastWriteTime;
  return data;
}

FileStatus StatusOfFound(const WIN32_FIND_DATAA& data, const std::string& path) {
  return StatusOf(data.dwFileAttributes, Joined(data.nFileSizeHigh, data.nFileSizeLow),
                  Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime),
                  path);
}

bool IsSymbolicLink(const WIN32_FIND_DATAA& data) {
  return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         data.dwReserved0 == IO_REPARSE_TAG_SYMLINK;
}

std::string ToLocal(const std::u16string& text) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  const auto* wide = reinterpret_cast<const wchar_t*>(text.data());
  const int count = static_cast<int>(text.size());
  const int length = WideCharToMultiByte(CP_ACP, 0, wide, count, nullptr, 0, nullptr, nullptr);
  std::string local(static_cast<std::size_t>(std::max(length, 0)), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide, count, local.data(), length, nullptr, nullptr);
  return local;
}

}  // namespace

std::string SystemPath(const std::string& path) {
  if (!LongNameMode()) return path;
  std::array<char, MAX_PATH> directory{};
  const DWORD length = GetCurrentDirectoryA(MAX_PATH, directory.data());
  if (length == 0 || length > MAX_PATH) {
    RememberSystemError();
    throw CGetCwdExcept();
  }
  return LongNameForm(path, directory.data());
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

PathRules SystemPathRules() { return PathRules::kWindows; }

std::optional<FileStatus> QueryStatus(const std::string& path) {
  std::optional<FileStatus> status;
  if (LongNameMode()) {
    const auto data = FindObject(SystemPath(path));
    if (data) status = StatusOfFound(*data, path);
  } else {
    status = RuntimeStatus(WithoutTrailingSeparators(path));
  }
  if (status) status->identity = IdentityOf(path);
  return status;
}

std::optional<FileStatus> QueryLinkStatus(const std::string& path) {
  const auto data = FindObject(WithoutTrailingSeparators(SystemPath(path)));
  if (!data || !IsSymbolicLink(*data)) return QueryStatus(path);
  FileStatus status = StatusOfFound(*data, path);
  status.kind = FileKind::kSymbolicLink;
  return status;
}

std::optional<FileStatus> StandardOutputStatus() {
  const HANDLE handle = GetStdHandle(STD_OUTPUT_HANDLE);
  BY_HANDLE_FILE_INFORMATION record{};
  if (GetFileType(handle) != FILE_TYPE_DISK ||
      GetFileInformationByHandle(handle, &record) == FALSE) {
    return std::nullopt;
  }
  FileStatus status;
  status.kind = FileKind::kRegular;
  status.identity = {record.dwVolumeSerialNumber,
                     Joined(record.nFileIndexHigh, record.nFileIndexLow)};
  return status;
}

Existence TestExistence(const std::string& path) {
  if (CallAccess(SystemPath(path)) == 0) return Existence::kExists;
  if (errno == ENOENT) return Existence::kMissing;
  RememberErrno(errno);
  return Existence::kUnknown;
}

bool CreateDirectoryAt(const std::string& path) {
  return CallCreateDirectory(SystemPath(path)) || Succeeded(GetLastError() == ERROR_ALREADY_EXISTS);
}

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
  if (target) return WithSlashes(PathRules::kWindows, ToLocal(*target));
  RememberErrno(EINVAL);
  return std::nullopt;
}

bool CreateSymbolicLink(const std::string& path, const std::string& target) {
  const std::size_t separator = LastSeparator(PathRules::kWindows, path);
  const bool absolute = IsAbsolutePath(PathRules::kWindows, target);
  const std::string from =
      absolute || separator == std::string::npos ? target : path.substr(0, separator + 1) + target;
  const auto status = QueryStatus(from);
  DWORD flags = SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE;
  if (status && status->kind == FileKind::kDirectory) flags |= SYMBOLIC_LINK_FLAG_DIRECTORY;
  std::string backslashed = target;
  std::replace(backslashed.begin(), backslashed.end(), '/', '\\');
  const std::string name = SystemPath(path);
  if (CallCreateSymbolicLink(name, backslashed, flags)) return true;
  if (GetLastError() != ERROR_ALREADY_EXISTS) return Succeeded(false);
  return DeleteFileAt(path) && Succeeded(CallCreateSymbolicLink(name, backslashed, flags));
}

bool SetLinkDate(const std::string& path, const TimePoint& time) {
  const std::uint64_t value = FileTimeOf(time);
  const FILETIME file_time = {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
  const HANDLE handle =
      CallCreateFile(SystemPath(path), FILE_WRITE_ATTRIBUTES, kShareAll, OPEN_EXISTING,
                     FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT);
  if (!Succeeded(handle != INVALID_HANDLE_VALUE)) return false;
  const bool done = Succeeded(SetFileTime(handle, nullptr, &file_time, &file_time) != FALSE);
  CloseHandle(handle);
  return done;
}

std::optional<double> DiskFreeSpace(const std::string& path) {
  ULARGE_INTEGER free_bytes{};
  if (CallGetDiskFreeSpace(SystemPath(path), &free_bytes)) {
    return static_cast<double>(free_bytes.QuadPart);
  }
  if (GetLastError() == ERROR_CALL_NOT_IMPLEMENTED) return -1;
  RememberSystemError();
  return std::nullopt;
}

bool DeleteFileAt(const std::string& path) { return Succeeded(CallDeleteFile(SystemPath(path))); }

bool SetPermissionsAt(const std::string& path, std::uint32_t bits) {
  return RuntimeSucceeded(CallChmod(SystemPath(path), static_cast<int>(bits & kModePermissions)));
}

bool SetAttributesAt(const std::string& path, std::uint32_t attributes, bool /*executable*/) {
  return Succeeded(CallSetFileAttributes(SystemPath(path), attributes));
}

bool SetDirectoryModeAt(const std::string& path, std::uint32_t mode, bool /*long_names*/) {
  if (!SetPermissionsAt(path, mode)) return false;
  const std::uint32_t added =
      AttributesOfMode(mode | kModeOwnerWrite) & (kAttributeHidden | kAttributeSystem);
  if (added == 0) return true;
  const auto data = FindObject(WithoutTrailingSeparators(SystemPath(path)));
  return data && SetAttributesAt(path, data->dwFileAttributes | added, false);
}

std::string CurrentDirectory() {
  std::array<char, MAX_PATH + 1> directory{};
  if (_getcwd(directory.data(), static_cast<int>(directory.size())) != nullptr) {
    return directory.data();
  }
  RememberErrno(errno);
  return {};
}

bool ChangeDirectory(const std::string& path) { return RuntimeSucceeded(_chdir(path.c_str())); }

bool CanEnterDirectory(const std::string& path) {
  const std::string here = CurrentDirectory();
  return ChangeDirectory(path) && ChangeDirectory(here);
}

}  // namespace moldex

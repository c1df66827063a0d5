#include "platform/file_handle.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/backup_context_win32.h"
#include "platform/long_name.h"
#include "platform/system_win32.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// One call of the system moves at most this much.
constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;

// What SetFileAttributes heeds; the rest is not an attribute that a program can set so.
constexpr DWORD kSettableAttributes = 0x31A7;

HANDLE Handle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

DWORD AccessOf(unsigned flags) {
  const bool long_names = LongNameMode();
  if ((flags & kOpenCreate) != 0) {
    return GENERIC_READ | GENERIC_WRITE |
           (long_names ? WRITE_DAC | WRITE_OWNER | ACCESS_SYSTEM_SECURITY : 0);
  }
  return GENERIC_READ | READ_CONTROL | ((flags & kOpenReadWrite) != 0 ? GENERIC_WRITE : 0) |
         (long_names ? ACCESS_SYSTEM_SECURITY : 0);
}

HANDLE OpenSystemFile(const std::string& path, unsigned flags, DWORD access, DWORD attributes) {
  const DWORD backup = LongNameMode() ? FILE_FLAG_BACKUP_SEMANTICS : 0;
  return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                     (flags & kOpenCreate) != 0 ? CREATE_ALWAYS : OPEN_EXISTING,
                     attributes | FILE_FLAG_SEQUENTIAL_SCAN | backup, nullptr);
}

// Two refusals are made good. A process without the privilege for system security can still read
// and write the bytes; and a hidden or system file is replaced only by whoever says that it is one.
HANDLE OpenWithRetries(const std::string& path, unsigned flags) {
  DWORD access = AccessOf(flags);
  HANDLE handle = OpenSystemFile(path, flags, access, FILE_ATTRIBUTE_NORMAL);
  if (handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_PRIVILEGE_NOT_HELD) {
    access &= ~static_cast<DWORD>(ACCESS_SYSTEM_SECURITY);
    handle = OpenSystemFile(path, flags, access, FILE_ATTRIBUTE_NORMAL);
  }
  if (handle != INVALID_HANDLE_VALUE || GetLastError() != ERROR_ACCESS_DENIED) return handle;
  const DWORD present = GetFileAttributesA(path.c_str());
  const DWORD kept = present & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  const bool replaceable = present != INVALID_FILE_ATTRIBUTES && kept != 0 &&
                           (present & FILE_ATTRIBUTE_DIRECTORY) == 0 && (flags & kOpenCreate) != 0;
  if (replaceable) return OpenSystemFile(path, flags, access, kept);
  SetLastError(ERROR_ACCESS_DENIED);
  return handle;
}

bool IsSymbolicLink(const std::string& path) {
  WIN32_FIND_DATAA data{};
  const HANDLE search = FindFirstFileA(path.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) return false;
  FindClose(search);
  return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         data.dwReserved0 == IO_REPARSE_TAG_SYMLINK;
}

bool HasOtherNames(const std::string& path) {
  const HANDLE handle =
      CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  BY_HANDLE_FILE_INFORMATION record{};
  const bool known = GetFileInformationByHandle(handle, &record) != FALSE;
  CloseHandle(handle);
  return known && record.nNumberOfLinks > 1;
}

// A file out of an archive takes the place of a symbolic link instead of going where it leads, and
// of one name of a file instead of changing what its other names show.
bool MakeRoom(const std::string& path) {
  if (!IsSymbolicLink(path) && !HasOtherNames(path)) return true;
  return Succeeded(DeleteFileA(path.c_str()) != FALSE);
}

bool MovePointer(std::intptr_t handle, std::int64_t distance, DWORD from) {
  LARGE_INTEGER to{};
  to.QuadPart = distance;
  return Succeeded(SetFilePointerEx(Handle(handle), to, nullptr, from) != FALSE);
}

FILETIME ToSystem(std::uint64_t file_time) {
  return {static_cast<DWORD>(file_time), static_cast<DWORD>(file_time >> 32)};
}

// The last letters of the open file's name, which say whether it is a program. Only ASCII counts.
std::string EndOfName(HANDLE handle) {
  constexpr std::size_t kEnd = 4;
  std::array<wchar_t, 32768> buffer{};
  auto* info = reinterpret_cast<FILE_NAME_INFO*>(buffer.data());
  if (GetFileInformationByHandleEx(handle, FileNameInfo, info, sizeof(buffer)) == FALSE) return {};
  const std::size_t length = info->FileNameLength / sizeof(wchar_t);
  std::string end;
  for (std::size_t at = length - std::min(length, kEnd); at < length; ++at)
    end.push_back(static_cast<char>(info->FileName[at] < 0x80 ? info->FileName[at] : '?'));
  return end;
}

bool SetBasicAttributes(HANDLE handle, DWORD attributes) {
  FILE_BASIC_INFO info{};  // times of 0 stay as they are, and so would attributes of 0
  info.FileAttributes = attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
  return Succeeded(SetFileInformationByHandle(handle, FileBasicInfo, &info, sizeof(info)) != FALSE);
}

}  // namespace

CFileHandle::CFileHandle() = default;

CFileHandle::CFileHandle(CFileHandle&& other) noexcept
    : handle_(std::exchange(other.handle_, kInvalid)), backup_(std::move(other.backup_)) {}

CFileHandle& CFileHandle::operator=(CFileHandle&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, kInvalid);
    backup_ = std::move(other.backup_);
  }
  return *this;
}

CFileHandle::~CFileHandle() { Close(); }

bool CFileHandle::Open(const std::string& path, unsigned flags) {
  Close();
  const std::string name = SystemPath(path);
  if ((flags & kOpenExtracted) != 0 && !MakeRoom(name)) return false;
  const HANDLE handle = OpenWithRetries(name, flags);
  if (!Succeeded(handle != INVALID_HANDLE_VALUE)) return false;
  BY_HANDLE_FILE_INFORMATION record{};
  const bool is_directory = GetFileInformationByHandle(handle, &record) != FALSE &&
                            (record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool is_device = (flags & kOpenExtracted) != 0 && GetFileType(handle) != FILE_TYPE_DISK;
  if (is_directory || is_device) {
    CloseHandle(handle);
    RememberErrno(EACCES);
    return false;
  }
  handle_ = reinterpret_cast<std::intptr_t>(handle);
  return (flags & kOpenAtEnd) == 0 || SeekToEnd();
}

bool CFileHandle::Close() {
  backup_.reset();
  if (!IsValid()) return true;
  return Succeeded(CloseHandle(Handle(std::exchange(handle_, kInvalid))) != FALSE);
}

Transfer CFileHandle::Read(std::span<std::uint8_t> buffer) {
  Transfer done{IsValid(), 0};
  if (!done.ok) RememberErrno(EBADF);
  while (done.ok && done.bytes < buffer.size()) {
    const auto wanted = static_cast<DWORD>(std::min(buffer.size() - done.bytes, kLargestTransfer));
    DWORD count = 0;
    done.ok =
        ReadFile(Handle(handle_), buffer.data() + done.bytes, wanted, &count, nullptr) != FALSE;
    done.bytes += count;
    // A pipe that its writer closed has come to its end.
    if (!done.ok && GetLastError() == ERROR_BROKEN_PIPE) return {true, done.bytes};
    if (!done.ok) RememberSystemError();
    if (count == 0) break;
  }
  return done;
}

Transfer CFileHandle::Write(std::span<const std::uint8_t> bytes) {
  Transfer done{IsValid(), 0};
  if (!done.ok) RememberErrno(EBADF);
  while (done.ok && done.bytes < bytes.size()) {
    const auto wanted = static_cast<DWORD>(std::min(bytes.size() - done.bytes, kLargestTransfer));
    DWORD count = 0;
    done.ok =
        WriteFile(Handle(handle_), bytes.data() + done.bytes, wanted, &count, nullptr) != FALSE;
    done.bytes += count;
    if (!done.ok) RememberSystemError();
    if (count == 0) break;
  }
  return done;
}

bool CFileHandle::Skip(std::int32_t low, std::int32_t high) {
  if (!IsValid() || low < 0 || high < 0) return false;
  LONG high_half = high;
  SetLastError(NO_ERROR);
  const DWORD low_half = SetFilePointer(Handle(handle_), low, &high_half, FILE_CURRENT);
  return Succeeded(low_half != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR);
}

bool CFileHandle::SeekToEnd() {
  if (!IsValid()) RememberErrno(EBADF);
  return IsValid() && MovePointer(handle_, 0, FILE_END);
}

std::uint32_t CFileHandle::GetPosition() {
  if (!IsValid()) throw CInvalidHandle();
  LARGE_INTEGER position{};
  if (!Succeeded(SetFilePointerEx(Handle(handle_), {}, &position, FILE_CURRENT) != FALSE)) {
    throw CGetFilePosExcept();
  }
  return static_cast<std::uint32_t>(position.QuadPart);
}

void CFileHandle::SetPosition(std::uint32_t position) {
  if (!IsValid()) throw CInvalidHandle();
  if (!MovePointer(handle_, position, FILE_BEGIN)) throw CSetFilePointerExcept();
}

std::optional<FileStatus> CFileHandle::Status() const {
  BY_HANDLE_FILE_INFORMATION record{};
  if (!Succeeded(GetFileInformationByHandle(Handle(handle_), &record) != FALSE)) {
    return std::nullopt;
  }
  const FILETIME& time = record.ftLastWriteTime;
  FileStatus status =
      StatusOf(record.dwFileAttributes, Joined(record.nFileSizeHigh, record.nFileSizeLow),
               Joined(time.dwHighDateTime, time.dwLowDateTime), EndOfName(Handle(handle_)));
  status.identity = {record.dwVolumeSerialNumber,
                     Joined(record.nFileIndexHigh, record.nFileIndexLow)};
  return status;
}

bool CFileHandle::Truncate(std::uint64_t size_bytes) {
  return MovePointer(handle_, static_cast<std::int64_t>(size_bytes), FILE_BEGIN) &&
         Succeeded(SetEndOfFile(Handle(handle_)) != FALSE);
}

// Through the open file and not through its name: the system would set the time of the last write
// anew when a file that was written to is closed, unless its own handle has set one.
bool CFileHandle::SetDate(std::uint32_t seconds) {
  const FILETIME time = ToSystem(FileTimeOf({seconds, 0}));
  return Succeeded(SetFileTime(Handle(handle_), nullptr, &time, &time) != FALSE);
}

bool CFileHandle::SetLastWriteTime(std::uint64_t file_time) {
  if (file_time >> 63 != 0) {  // to the system not a time but an order to keep none
    RememberErrno(EINVAL);
    return false;
  }
  const FILETIME time = ToSystem(file_time);
  return Succeeded(SetFileTime(Handle(handle_), nullptr, nullptr, &time) != FALSE);
}

bool CFileHandle::SetPermissions(std::uint32_t bits) {
  BY_HANDLE_FILE_INFORMATION record{};
  if (!Succeeded(GetFileInformationByHandle(Handle(handle_), &record) != FALSE)) return false;
  DWORD attributes = record.dwFileAttributes & kSettableAttributes;
  attributes &= ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_NORMAL);
  if ((bits & 0200) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  return SetBasicAttributes(Handle(handle_), attributes);
}

bool CFileHandle::SetAttributes(std::uint32_t attributes, bool /*executable*/) {
  return SetBasicAttributes(Handle(handle_), attributes & kSettableAttributes);
}

}  // namespace moldex

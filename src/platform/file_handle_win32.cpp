#include "platform/file_handle.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "platform/backup_context_win32.h"
#include "platform/file_services.h"
#include "platform/long_name.h"
#include "platform/path_calls_win32.h"
#include "platform/system_win32.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// One call of the system moves at most this much.
constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;

// What SetFileAttributes heeds; the rest is not an attribute that a program can set so.
constexpr DWORD kSettableAttributes = 0x31A7;

DWORD AccessOf(unsigned flags) {
  const bool long_names = LongNameMode();
  if ((flags & kOpenCreate) != 0) {
    return GENERIC_READ | GENERIC_WRITE |
           (long_names ? WRITE_DAC | WRITE_OWNER | ACCESS_SYSTEM_SECURITY : 0);
  }
  return GENERIC_READ | READ_CONTROL | ((flags & kOpenReadWrite) != 0 ? GENERIC_WRITE : 0) |
         (long_names ? ACCESS_SYSTEM_SECURITY : 0);
}

// What is to be locked is emptied only then.
DWORD DispositionOf(unsigned flags) {
  if ((flags & kOpenCreate) == 0) return OPEN_EXISTING;
  return (flags & kOpenReadWrite) != 0 ? OPEN_ALWAYS : CREATE_ALWAYS;
}

HANDLE OpenSystemFile(const std::string& path, unsigned flags, DWORD access, DWORD attributes) {
  const DWORD backup = LongNameMode() ? FILE_FLAG_BACKUP_SEMANTICS : 0;
  return CallCreateFile(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, DispositionOf(flags),
                        attributes | FILE_FLAG_SEQUENTIAL_SCAN | backup);
}

// Locks one byte beyond all that a file can have: what is locked here nobody else can read. A file
// system that has no locks is used without.
bool Lock(HANDLE handle) {
  OVERLAPPED place{};
  place.Offset = MAXDWORD - 1;
  place.OffsetHigh = MAXLONG;
  if (LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) {
    return true;
  }
  const DWORD why = GetLastError();
  return why != ERROR_LOCK_VIOLATION && why != ERROR_IO_PENDING;
}

// An archive is locked and, when it is made, emptied.
bool Claim(HANDLE handle, unsigned flags) {
  if ((flags & kOpenReadWrite) == 0 || GetFileType(handle) != FILE_TYPE_DISK) return true;
  if (!Lock(handle)) return false;
  return (flags & kOpenCreate) == 0 || SetEndOfFile(handle) != FALSE;
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
  const DWORD present = CallGetFileAttributes(path);
  const DWORD kept = present & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  const bool replaceable = present != INVALID_FILE_ATTRIBUTES && kept != 0 &&
                           (present & FILE_ATTRIBUTE_DIRECTORY) == 0 && (flags & kOpenCreate) != 0;
  if (replaceable) return OpenSystemFile(path, flags, access, kept);
  SetLastError(ERROR_ACCESS_DENIED);
  return handle;
}

bool HasOtherNames(const std::string& path) {
  const HANDLE handle =
      CallCreateFile(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING,
                     FILE_FLAG_OPEN_REPARSE_POINT);
  if (handle == INVALID_HANDLE_VALUE) return false;
  BY_HANDLE_FILE_INFORMATION record{};
  const bool known = GetFileInformationByHandle(handle, &record) != FALSE;
  CloseHandle(handle);
  return known && record.nNumberOfLinks > 1;
}

// A file out of an archive takes the place of a symbolic link instead of going where it leads, and
// of one name of a file instead of changing what its other names show. Not that of a read-only
// file.
bool MakeRoom(const std::string& path) {
  const auto object = FindObject(path);
  const bool is_link = object && IsSymbolicLink(*object);
  if (object && !is_link && (object->dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
    RememberErrno(EACCES);
    return false;
  }
  if (!is_link && !HasOtherNames(path)) return true;
  return Succeeded(CallDeleteFile(path));
}

bool MovePointer(std::intptr_t handle, std::int64_t distance, DWORD from) {
  LARGE_INTEGER to{};
  to.QuadPart = distance;
  return Succeeded(SetFilePointerEx(SystemHandle(handle), to, nullptr, from) != FALSE);
}

FILETIME ToSystem(std::uint64_t file_time) {
  return {static_cast<DWORD>(file_time), static_cast<DWORD>(file_time >> 32)};
}

// The date of an open file as the runtime library has it. That goes through local time in a way of
// its own, which the library's setting of dates undoes.
std::optional<std::int64_t> RuntimeSeconds(HANDLE file) {
  HANDLE copy = nullptr;
  if (DuplicateHandle(GetCurrentProcess(), file, GetCurrentProcess(), &copy, 0, FALSE,
                      DUPLICATE_SAME_ACCESS) == FALSE) {
    return std::nullopt;
  }
  const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(copy), _O_RDONLY);
  if (descriptor < 0) {
    CloseHandle(copy);
    return std::nullopt;
  }
  struct _stati64 record {};
  const bool known = _fstati64(descriptor, &record) == 0;
  _close(descriptor);
  if (!known) return std::nullopt;
  return record.st_mtime;
}

// The library knows no dates before 1970, and some of its versions none after 2106.
bool RuntimeKnows(const TimePoint& time) {
  return time.seconds >= 0 && time.seconds <= std::numeric_limits<std::uint32_t>::max();
}

}  // namespace

CFileHandle::CFileHandle() = default;

CFileHandle::CFileHandle(CFileHandle&& other) noexcept
    : handle_(std::exchange(other.handle_, kInvalid)),
      name_(std::exchange(other.name_, {})),
      backup_(std::move(other.backup_)) {}

CFileHandle& CFileHandle::operator=(CFileHandle&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, kInvalid);
    name_ = std::exchange(other.name_, {});
    backup_ = std::move(other.backup_);
  }
  return *this;
}

CFileHandle::~CFileHandle() { Close(); }

bool CFileHandle::Open(const std::string& path, unsigned flags) {
  Close();
  if ((flags & kOpenExtracted) != 0 && !MakeRoom(path)) return false;
  const HANDLE handle = OpenWithRetries(path, flags);
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
  if (!Succeeded(Claim(handle, flags))) {
    CloseHandle(handle);
    return false;
  }
  handle_ = reinterpret_cast<std::intptr_t>(handle);
  name_ = path;
  if ((flags & kOpenAtEnd) == 0 || SeekToEnd()) return true;
  const CSystemErrorGuard guard;
  Close();
  return false;
}

// The system deletes no file that is open this way.
bool CFileHandle::Delete(const std::string& path) { return Close() && DeleteFileAt(path); }

// The system dates a file that was written to when it is closed, over what _utime has set.
bool CFileHandle::EndWriting() {
  if (IsValid()) {
    std::string name = std::move(name_);
    const bool closed = Close();
    name_ = std::move(name);
    return closed;
  }
  RememberErrno(EBADF);
  return false;
}

bool CFileHandle::Close() {
  backup_.reset();
  name_.clear();
  if (!IsValid()) return true;
  return Succeeded(CloseHandle(SystemHandle(std::exchange(handle_, kInvalid))) != FALSE);
}

Transfer CFileHandle::Read(std::span<std::uint8_t> buffer) {
  Transfer done{IsValid(), 0};
  if (!done.ok) RememberErrno(EBADF);
  while (done.ok && done.bytes < buffer.size()) {
    const auto wanted = static_cast<DWORD>(std::min(buffer.size() - done.bytes, kLargestTransfer));
    DWORD count = 0;
    done.ok = ReadFile(SystemHandle(handle_), buffer.data() + done.bytes, wanted, &count,
                       nullptr) != FALSE;
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
    done.ok = WriteFile(SystemHandle(handle_), bytes.data() + done.bytes, wanted, &count,
                        nullptr) != FALSE;
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
  const DWORD low_half = SetFilePointer(SystemHandle(handle_), low, &high_half, FILE_CURRENT);
  return Succeeded(low_half != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR);
}

bool CFileHandle::SeekToEnd() {
  if (!IsValid()) RememberErrno(EBADF);
  return IsValid() && MovePointer(handle_, 0, FILE_END);
}

std::uint32_t CFileHandle::GetPosition() {
  if (!IsValid()) throw CInvalidHandle();
  LARGE_INTEGER position{};
  if (!Succeeded(SetFilePointerEx(SystemHandle(handle_), {}, &position, FILE_CURRENT) != FALSE)) {
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
  if (!Succeeded(GetFileInformationByHandle(SystemHandle(handle_), &record) != FALSE)) {
    return std::nullopt;
  }
  const FILETIME& time = record.ftLastWriteTime;
  FileStatus status =
      StatusOf(record.dwFileAttributes, Joined(record.nFileSizeHigh, record.nFileSizeLow),
               Joined(time.dwHighDateTime, time.dwLowDateTime), name_);
  status.identity = IdentityOf(record);
  if (!LongNameMode() && RuntimeKnows(status.modified)) {
    const auto seconds = RuntimeSeconds(SystemHandle(handle_));
    if (seconds) status.modified = {*seconds, 0};
  }
  return status;
}

bool CFileHandle::Truncate(std::uint64_t size_bytes) {
  return MovePointer(handle_, static_cast<std::int64_t>(size_bytes), FILE_BEGIN) &&
         Succeeded(SetEndOfFile(SystemHandle(handle_)) != FALSE);
}

bool CFileHandle::SetDate(std::uint32_t seconds) {
  struct _utimbuf times = {seconds, seconds};
  return RuntimeSucceeded(CallUtime(name_, &times));
}

// Through the open file: the date that its own handle has set outlives its closing.
bool CFileHandle::SetLastWriteTime(std::uint64_t file_time) {
  if (file_time >> 63 != 0) {  // to the system not a time but an order to keep none
    RememberErrno(EINVAL);
    return false;
  }
  const FILETIME time = ToSystem(file_time);
  return Succeeded(SetFileTime(SystemHandle(handle_), nullptr, nullptr, &time) != FALSE);
}

bool CFileHandle::SetPermissions(std::uint32_t bits) {
  return RuntimeSucceeded(CallChmod(name_, static_cast<int>(bits & kModePermissions)));
}

bool CFileHandle::SetAttributes(std::uint32_t attributes, bool /*executable*/) {
  return !name_.empty() &&
         Succeeded(CallSetFileAttributes(name_, attributes & kSettableAttributes));
}

}  // namespace moldex

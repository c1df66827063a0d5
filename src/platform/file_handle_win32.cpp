#include "platform/file_handle.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "platform/backup_context_win32.h"
#include "platform/file_services.h"
#include "platform/long_name.h"
#include "platform/open_file_win32.h"
#include "platform/path_calls_win32.h"
#include "platform/system_win32.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// The attributes that SetFileAttributes heeds. Others cannot be set that way.
constexpr DWORD kSettableAttributes = 0x31A7;

Result<void> MovePointer(std::intptr_t handle, std::int64_t distance, DWORD from) {
  LARGE_INTEGER to{};
  to.QuadPart = distance;
  return ResultOf(SetFilePointerEx(SystemHandle(handle), to, nullptr, from));
}

// One call of the system moves so many bytes at most.
DWORD PieceOf(std::size_t bytes) {
  return static_cast<DWORD>(std::min(bytes, std::size_t{1} << 30));
}

// The date of an open file as the runtime library has it. The library converts it through local
// time in its own way, and undoes that when it sets a date.
std::optional<std::int64_t> RuntimeSeconds(HANDLE file) {
  HANDLE copy = nullptr;
  if (DuplicateHandle(GetCurrentProcess(), file, GetCurrentProcess(), &copy, 0, FALSE,
                      DUPLICATE_SAME_ACCESS) == FALSE) {
    return std::nullopt;
  }
  OwnedHandle owner(copy);
  const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(copy), _O_RDONLY);
  if (descriptor < 0) return std::nullopt;
  (void)owner.release();  // the descriptor closes it
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
    (void)Close();
    handle_ = std::exchange(other.handle_, kInvalid);
    name_ = std::exchange(other.name_, {});
    backup_ = std::move(other.backup_);
  }
  return *this;
}

CFileHandle::~CFileHandle() { (void)Close(); }

Result<void> CFileHandle::Open(const std::string& path, unsigned flags) {
  (void)Close();
  std::string name = path;  // before a file is made or emptied: memory may run out
  auto opened = OpenFileHandle(path, flags);
  if (!opened) return opened.error();
  handle_ = reinterpret_cast<std::intptr_t>(static_cast<HANDLE>(opened->release()));
  name_ = std::move(name);
  if ((flags & kOpenAtEnd) == 0) return {};
  const auto at_end = SeekToEnd();
  if (!at_end) {
    const CSystemErrorGuard guard;
    (void)Close();
  }
  return at_end;
}

// The system deletes no file that is open this way.
Result<void> CFileHandle::Delete(const std::string& path) {
  const auto closed = Close();
  return closed ? DeleteFileAt(path) : closed;
}

// The system dates a file that was written to when it is closed, over what _utime has set.
Result<void> CFileHandle::EndWriting() {
  if (!IsValid()) return RememberErrno(EBADF);
  std::string name = std::move(name_);
  const auto closed = Close();
  name_ = std::move(name);
  return closed;
}

Result<void> CFileHandle::Close() {
  backup_.reset();
  name_.clear();
  if (!IsValid()) return {};
  return ResultOf(CloseHandle(SystemHandle(std::exchange(handle_, kInvalid))));
}

Result<std::size_t> CFileHandle::ReadSome(std::span<std::uint8_t> buffer) {
  if (!IsValid()) return RememberErrno(EBADF);
  DWORD count = 0;
  const BOOL done =
      ReadFile(SystemHandle(handle_), buffer.data(), PieceOf(buffer.size()), &count, nullptr);
  // A pipe that its writer closed has come to its end.
  if (done == FALSE && GetLastError() != ERROR_BROKEN_PIPE) return RememberSystemError();
  return count;
}

Result<std::size_t> CFileHandle::WriteSome(std::span<const std::uint8_t> bytes) {
  if (!IsValid()) return RememberErrno(EBADF);
  DWORD count = 0;
  const BOOL done =
      WriteFile(SystemHandle(handle_), bytes.data(), PieceOf(bytes.size()), &count, nullptr);
  if (done == FALSE) return RememberSystemError();
  return count;
}

Result<void> CFileHandle::Skip(std::int32_t low, std::int32_t high) {
  if (!IsValid()) return RememberErrno(EBADF);
  if (low < 0 || high < 0) return RememberErrno(EINVAL);
  LONG high_half = high;
  SetLastError(NO_ERROR);
  const DWORD low_half = SetFilePointer(SystemHandle(handle_), low, &high_half, FILE_CURRENT);
  return ResultOf(low_half != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR);
}

Result<void> CFileHandle::SeekToEnd() {
  if (!IsValid()) return RememberErrno(EBADF);
  return MovePointer(handle_, 0, FILE_END);
}

void CFileHandle::AllowHoles() {
  DWORD unused = 0;
  (void)DeviceIoControl(SystemHandle(handle_), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused,
                        nullptr);
}

std::uint32_t CFileHandle::GetPosition() {
  if (!IsValid()) throw CInvalidHandle();
  LARGE_INTEGER position{};
  if (!ResultOf(SetFilePointerEx(SystemHandle(handle_), {}, &position, FILE_CURRENT))) {
    throw CGetFilePosExcept();
  }
  return static_cast<std::uint32_t>(position.QuadPart);
}

void CFileHandle::SetPosition(std::uint32_t position) {
  if (!IsValid()) throw CInvalidHandle();
  if (!MovePointer(handle_, position, FILE_BEGIN)) throw CSetFilePointerExcept();
}

Result<FileStatus> CFileHandle::Status() const {
  BY_HANDLE_FILE_INFORMATION record{};
  if (GetFileInformationByHandle(SystemHandle(handle_), &record) == FALSE) {
    return RememberSystemError();
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

Result<void> CFileHandle::Truncate(std::uint64_t size_bytes) {
  const auto moved = MovePointer(handle_, static_cast<std::int64_t>(size_bytes), FILE_BEGIN);
  return moved ? ResultOf(SetEndOfFile(SystemHandle(handle_))) : moved;
}

Result<void> CFileHandle::SetDate(std::uint32_t seconds) {
  struct _utimbuf times = {seconds, seconds};
  return RuntimeResultOf(CallUtime(name_, &times));
}

// Through the open file: the date that its own handle has set outlives its closing.
Result<void> CFileHandle::SetLastWriteTime(std::uint64_t file_time) {
  // The system takes such a value as an order to keep no time.
  if (file_time >> 63 != 0) return RememberErrno(EINVAL);
  const FILETIME time = ToFileTime(file_time);
  return ResultOf(SetFileTime(SystemHandle(handle_), nullptr, nullptr, &time));
}

Result<void> CFileHandle::SetPermissions(std::uint32_t bits) {
  return RuntimeResultOf(CallChmod(name_, static_cast<int>(bits & kModePermissions)));
}

Result<void> CFileHandle::SetAttributes(std::uint32_t attributes, bool /*executable*/) {
  if (name_.empty()) return RememberErrno(EBADF);
  return ResultOf(CallSetFileAttributes(name_, attributes & kSettableAttributes));
}

}  // namespace moldex

#include "platform/file_handle.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include "platform/backup_context_posix.h"
#include "platform/open_file_posix.h"
#include "platform/retry_posix.h"
#include "platform/status_posix.h"
#include "report/await_posix.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

int Descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

// Waits for the other end, and for a named pipe also until somebody opens it. A request to end the
// run throws CInterruptExcept; during the cleanup after another failure it makes the call fail.
Result<void> AwaitTransfer(int descriptor, short events) {
  if (AwaitReady(descriptor, events)) return {};
  ThrowIfInterrupted();
  return RememberErrno(EINTR);
}

Result<std::size_t> TransferResult(ssize_t count) {
  if (count < 0) return RememberSystemError();
  return static_cast<std::size_t>(count);
}

// Sets the dates of an open file: access, then modification.
Result<void> SetTimes(int descriptor, const timespec (&both)[2]) {
  return RetriedCall([&] { return futimens(descriptor, both); });
}

}  // namespace

CFileHandle::CFileHandle() = default;

CFileHandle::CFileHandle(CFileHandle&& other) noexcept
    : handle_(std::exchange(other.handle_, kInvalid)),
      may_wait_(other.may_wait_),
      read_position_(std::exchange(other.read_position_, {})),
      backup_(std::move(other.backup_)) {}

CFileHandle& CFileHandle::operator=(CFileHandle&& other) noexcept {
  if (this != &other) {
    (void)Close();
    handle_ = std::exchange(other.handle_, kInvalid);
    may_wait_ = other.may_wait_;
    read_position_ = std::exchange(other.read_position_, {});
    backup_ = std::move(other.backup_);
  }
  return *this;
}

CFileHandle::~CFileHandle() { (void)Close(); }

Result<void> CFileHandle::Open(const std::string& path, unsigned flags) {
  (void)Close();
  const auto opened = OpenFile(path.c_str(), flags);
  if (!opened) return opened.error();
  handle_ = opened->descriptor;
  may_wait_ = opened->may_wait;
  if ((flags & kOpenAtEnd) == 0) return {};
  const auto at_end = SeekToEnd();
  if (!at_end) (void)Close();
  return at_end;
}

Result<void> CFileHandle::Close() {
  backup_.reset();
  read_position_.reset();
  if (!IsValid()) return {};
  // After an interruption, too, the descriptor is gone, and nothing is known to be lost.
  if (close(Descriptor(std::exchange(handle_, kInvalid))) == 0 || errno == EINTR) return {};
  return RememberSystemError();
}

Result<void> CFileHandle::Delete(const std::string& path) {
  Result<void> deleted;
  if (unlink(path.c_str()) != 0) deleted = RememberSystemError();
  const auto closed = Close();
  return closed ? deleted : closed;
}

// Everything goes through the descriptor, whatever becomes of the name.
Result<void> CFileHandle::EndWriting() {
  if (!IsValid()) return RememberErrno(EBADF);
  return {};
}

Result<std::size_t> CFileHandle::ReadSome(std::span<std::uint8_t> buffer) {
  if (may_wait_) {
    const auto ready = AwaitTransfer(Descriptor(handle_), POLLIN);
    if (!ready) return ready.error();
  }
  const ssize_t count = Retrying([&] {
    return read_position_ ? pread(Descriptor(handle_), buffer.data(), buffer.size(),
                                  static_cast<off_t>(*read_position_))
                          : read(Descriptor(handle_), buffer.data(), buffer.size());
  });
  if (count > 0 && read_position_) *read_position_ += static_cast<std::size_t>(count);
  return TransferResult(count);
}

// Moves the system's position to the one that skips have reached.
Result<void> CFileHandle::MoveToSkipped() {
  if (!read_position_) return {};
  const auto position = static_cast<off_t>(*read_position_);
  if (lseek(Descriptor(handle_), position, SEEK_SET) != position) return RememberSystemError();
  read_position_.reset();
  return {};
}

Result<std::size_t> CFileHandle::WriteSome(std::span<const std::uint8_t> bytes) {
  const auto moved = MoveToSkipped();
  if (!moved) return moved.error();
  if (may_wait_) {
    const auto ready = AwaitTransfer(Descriptor(handle_), POLLOUT);
    if (!ready) return ready.error();
    bytes = bytes.first(std::min<std::size_t>(bytes.size(), PIPE_BUF));
  }
  return TransferResult(
      Retrying([&] { return write(Descriptor(handle_), bytes.data(), bytes.size()); }));
}

Result<void> CFileHandle::Skip(std::int32_t low, std::int32_t high) {
  if (!IsValid()) return RememberErrno(EBADF);
  if (low < 0 || high < 0) return RememberErrno(EINVAL);
  const off_t distance = static_cast<off_t>(high) << 32 | static_cast<off_t>(low);
  const off_t position = read_position_ ? static_cast<off_t>(*read_position_)
                                        : lseek(Descriptor(handle_), 0, SEEK_CUR);
  if (position < 0) return RememberSystemError();
  const bool is_far = high != 0;  // perhaps farther than the system goes
  if (is_far && lseek(Descriptor(handle_), distance, SEEK_CUR) < 0) return RememberSystemError();
  read_position_ = static_cast<std::uint64_t>(position) + static_cast<std::uint64_t>(distance);
  return {};
}

Result<void> CFileHandle::SeekToEnd() {
  if (!IsValid()) return RememberErrno(EBADF);
  if (lseek(Descriptor(handle_), 0, SEEK_END) < 0) return RememberSystemError();
  read_position_.reset();
  return {};
}

// Every file may have holes.
void CFileHandle::AllowHoles() {}

std::uint32_t CFileHandle::GetPosition() {
  if (!IsValid()) throw CInvalidHandle();
  const off_t position = MoveToSkipped() ? lseek(Descriptor(handle_), 0, SEEK_CUR) : -1;
  if (position < 0) {
    RememberSystemError();
    throw CGetFilePosExcept();
  }
  return static_cast<std::uint32_t>(position);
}

void CFileHandle::SetPosition(std::uint32_t position) {
  if (!IsValid()) throw CInvalidHandle();
  if (lseek(Descriptor(handle_), static_cast<off_t>(position), SEEK_SET) < 0) {
    RememberSystemError();
    throw CSetFilePointerExcept();
  }
  read_position_.reset();
}

Result<FileStatus> CFileHandle::Status() const {
  struct stat record {};
  if (fstat(Descriptor(handle_), &record) != 0) return RememberSystemError();
  return ToFileStatus(record);
}

Result<void> CFileHandle::Truncate(std::uint64_t size_bytes) {
  const off_t size = static_cast<off_t>(size_bytes);
  read_position_.reset();
  const bool done = Retrying([&] { return ftruncate(Descriptor(handle_), size); }) == 0 &&
                    lseek(Descriptor(handle_), size, SEEK_SET) == size;
  if (!done) return RememberSystemError();
  return {};
}

Result<void> CFileHandle::SetDate(std::uint32_t seconds) {
  const timespec time = {static_cast<time_t>(seconds), 0};
  return SetTimes(Descriptor(handle_), {time, time});
}

Result<void> CFileHandle::SetLastWriteTime(std::uint64_t file_time) {
  const auto time = TimeOfFileTime(file_time);
  if (!time) return RememberErrno(EINVAL);
  return SetTimes(Descriptor(handle_),
                  {{0, UTIME_OMIT}, {static_cast<time_t>(time->seconds), time->nanoseconds}});
}

Result<void> CFileHandle::SetAttributes(std::uint32_t attributes, bool executable) {
  const mode_t permissions = PermissionsOf(attributes, executable);
  return RetriedCall([&] { return fchmod(Descriptor(handle_), permissions); });
}

Result<void> CFileHandle::SetPermissions(std::uint32_t bits) {
  const auto permissions = static_cast<mode_t>(bits & kModePermissions);
  return RetriedCall([&] { return fchmod(Descriptor(handle_), permissions); });
}

}  // namespace moldex

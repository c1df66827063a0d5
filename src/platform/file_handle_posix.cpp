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
#include "platform/locked_file_posix.h"
#include "platform/retry_posix.h"
#include "platform/status_posix.h"
#include "report/await_posix.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kNewFileMode = 0666;  // less the umask

int OpenFlagsOf(unsigned flags) {
  if ((flags & kOpenCreate) != 0) return O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC;
  return O_RDONLY | O_NONBLOCK | O_CLOEXEC | ((flags & kOpenNoLink) != 0 ? O_NOFOLLOW : 0);
}

int OpenRetrying(const char* path, int flags, mode_t mode) {
  const int descriptor = Retrying([&] { return open(path, flags, mode); });
  if (descriptor < 0) RememberSystemError();
  return descriptor;
}

// Whether transfers may have to wait for somebody else. Empty for what open() gives a descriptor
// for but what holds no bytes to read. Opening did not wait for the other end of a pipe; reading
// has to.
std::optional<bool> MayWait(int descriptor) {
  struct stat record {};
  if (fstat(descriptor, &record) != 0) {
    RememberSystemError();
    return std::nullopt;
  }
  if (S_ISDIR(record.st_mode)) {
    RememberErrno(EISDIR);
    return std::nullopt;
  }
  const bool is_regular = S_ISREG(record.st_mode);
  if (!is_regular) fcntl(descriptor, F_SETFL, 0);
  return !is_regular;
}

// Waits for whoever is at the other end: of a named pipe, also for somebody to open it. False, with
// the error remembered, when the run is asked to end while another failure is cleaned up after;
// otherwise CInterruptExcept tells of that.
bool AwaitTransfer(int descriptor, short events) {
  if (AwaitReady(descriptor, events)) return true;
  ThrowIfInterrupted();
  RememberErrno(EINTR);
  return false;
}

// Turns what stood under the name into an empty file that only its owner can reach.
bool MakePrivate(int descriptor) {
  struct stat record {};
  if (fstat(descriptor, &record) != 0) {
    RememberSystemError();
    return false;
  }
  if (!S_ISREG(record.st_mode)) {
    RememberErrno(S_ISDIR(record.st_mode) ? EISDIR : EINVAL);
    return false;
  }
  // A file of somebody else's may refuse this; the final permissions then report it.
  if ((record.st_mode & 07777) != kOwnerOnly) (void)fchmod(descriptor, kOwnerOnly);
  if (record.st_size == 0 || Retrying([&] { return ftruncate(descriptor, 0); }) == 0) return true;
  RememberSystemError();
  return false;
}

// What may be done with a file that has the name of an extracted one.
enum class Former { kEmptied, kReplaced, kKept };

// A read-only file is kept, whatever the user may do. A file of somebody else's is replaced, since
// its owner may have it open; one with other names is, because these keep its bytes.
Former Judge(int descriptor) {
  struct stat record {};
  if (fstat(descriptor, &record) != 0 || !S_ISREG(record.st_mode)) return Former::kEmptied;
  if ((record.st_mode & S_IWUSR) == 0) return Former::kKept;
  return record.st_nlink > 1 || record.st_uid != geteuid() ? Former::kReplaced : Former::kEmptied;
}

// Opens what stands under the name, unless it has to give way to a new file.
int OpenFormerFile(const char* path, bool* replace) {
  const int descriptor = OpenRetrying(path, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0);
  *replace = descriptor < 0 && errno == ELOOP;  // a symbolic link
  if (descriptor < 0) return -1;
  const Former former = Judge(descriptor);
  *replace = former == Former::kReplaced;
  if (former == Former::kEmptied && MakePrivate(descriptor)) return descriptor;
  close(descriptor);
  if (former == Former::kKept) RememberErrno(EACCES);
  return -1;
}

int OpenExtractedFile(const char* path) {
  constexpr int kNewFile = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
  const SystemError before = LastSystemError();
  int descriptor = OpenRetrying(path, kNewFile, kOwnerOnly);
  if (descriptor < 0 && errno == EEXIST) {
    RestoreSystemError(before);
    bool replace = false;
    descriptor = OpenFormerFile(path, &replace);
    if (!replace) return descriptor;
    if (unlink(path) != 0) {
      RememberSystemError();
      return -1;
    }
    descriptor = OpenRetrying(path, kNewFile, kOwnerOnly);
  }
  if (descriptor < 0 || MakePrivate(descriptor)) return descriptor;
  close(descriptor);
  return -1;
}

int Descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

}  // namespace

CFileHandle::CFileHandle() = default;

CFileHandle::CFileHandle(CFileHandle&& other) noexcept
    : handle_(std::exchange(other.handle_, kInvalid)),
      may_wait_(other.may_wait_),
      read_position_(std::exchange(other.read_position_, {})),
      backup_(std::move(other.backup_)) {}

CFileHandle& CFileHandle::operator=(CFileHandle&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, kInvalid);
    may_wait_ = other.may_wait_;
    read_position_ = std::exchange(other.read_position_, {});
    backup_ = std::move(other.backup_);
  }
  return *this;
}

CFileHandle::~CFileHandle() { Close(); }

bool CFileHandle::Open(const std::string& path, unsigned flags) {
  Close();
  if ((flags & kOpenExtracted) != 0) {
    handle_ = OpenExtractedFile(path.c_str());
    may_wait_ = false;
    return IsValid();
  }
  const int descriptor = (flags & kOpenReadWrite) != 0
                             ? OpenLocked(path.c_str(), (flags & kOpenCreate) != 0)
                             : OpenRetrying(path.c_str(), OpenFlagsOf(flags), kNewFileMode);
  if (descriptor < 0) return false;
  const auto may_wait = MayWait(descriptor);
  if (!may_wait) {
    close(descriptor);
    return false;
  }
  handle_ = descriptor;
  may_wait_ = *may_wait;
  if ((flags & kOpenAtEnd) == 0 || SeekToEnd()) return true;
  Close();
  return false;
}

bool CFileHandle::Close() {
  backup_.reset();
  read_position_.reset();
  if (!IsValid()) return true;
  // Interrupted or not, the descriptor is gone, and nothing is known to be lost.
  if (close(Descriptor(std::exchange(handle_, kInvalid))) == 0 || errno == EINTR) return true;
  RememberSystemError();
  return false;
}

bool CFileHandle::Delete(const std::string& path) {
  const bool deleted = unlink(path.c_str()) == 0;
  if (!deleted) RememberSystemError();
  return Close() && deleted;
}

// Everything goes through the descriptor, whatever becomes of the name.
bool CFileHandle::EndWriting() {
  if (!IsValid()) RememberErrno(EBADF);
  return IsValid();
}

Transfer CFileHandle::Read(std::span<std::uint8_t> buffer) {
  Transfer done{true, 0};
  while (done.bytes < buffer.size()) {
    const std::span rest = buffer.subspan(done.bytes);
    done.ok = !may_wait_ || AwaitTransfer(Descriptor(handle_), POLLIN);
    if (!done.ok) break;
    const ssize_t count = Retrying([&] {
      return read_position_ ? pread(Descriptor(handle_), rest.data(), rest.size(),
                                    static_cast<off_t>(*read_position_))
                            : read(Descriptor(handle_), rest.data(), rest.size());
    });
    if (count == 0) break;
    if (count < 0) {
      RememberSystemError();
      done.ok = false;
      break;
    }
    done.bytes += static_cast<std::size_t>(count);
    if (read_position_) *read_position_ += static_cast<std::size_t>(count);
  }
  return done;
}

// Moves the system's position to where skips have moved to.
bool CFileHandle::Settle() {
  if (!read_position_) return true;
  const auto position = static_cast<off_t>(*read_position_);
  if (lseek(Descriptor(handle_), position, SEEK_SET) == position) {
    read_position_.reset();
    return true;
  }
  RememberSystemError();
  return false;
}

Transfer CFileHandle::Write(std::span<const std::uint8_t> bytes) {
  Transfer done{Settle(), 0};
  if (!done.ok) return done;
  while (done.bytes < bytes.size()) {
    done.ok = !may_wait_ || AwaitTransfer(Descriptor(handle_), POLLOUT);
    if (!done.ok) break;
    const std::size_t left = bytes.size() - done.bytes;
    const std::size_t piece = may_wait_ ? std::min<std::size_t>(left, PIPE_BUF) : left;
    const std::span rest = bytes.subspan(done.bytes, piece);
    const ssize_t count =
        Retrying([&] { return write(Descriptor(handle_), rest.data(), rest.size()); });
    if (count < 0) {
      RememberSystemError();
      done.ok = false;
      break;
    }
    done.bytes += static_cast<std::size_t>(count);
  }
  return done;
}

bool CFileHandle::Skip(std::int32_t low, std::int32_t high) {
  if (!IsValid() || low < 0 || high < 0) return false;
  const off_t distance = static_cast<off_t>(high) << 32 | static_cast<off_t>(low);
  const off_t position = read_position_ ? static_cast<off_t>(*read_position_)
                                        : lseek(Descriptor(handle_), 0, SEEK_CUR);
  if (position < 0) {
    RememberSystemError();
    return false;
  }
  const bool is_far = high != 0;  // perhaps farther than the system goes
  if (is_far && lseek(Descriptor(handle_), distance, SEEK_CUR) < 0) {
    RememberSystemError();
    return false;
  }
  read_position_ = static_cast<std::uint64_t>(position) + static_cast<std::uint64_t>(distance);
  return true;
}

bool CFileHandle::SeekToEnd() {
  if (IsValid() && lseek(Descriptor(handle_), 0, SEEK_END) >= 0) {
    read_position_.reset();
    return true;
  }
  RememberSystemError();
  return false;
}

std::uint32_t CFileHandle::GetPosition() {
  if (!IsValid()) throw CInvalidHandle();
  const off_t position = Settle() ? lseek(Descriptor(handle_), 0, SEEK_CUR) : -1;
  if (position < 0) {
    RememberSystemError();
    throw CGetFilePosExcept();
  }
  return static_cast<std::uint32_t>(position);
}

void CFileHandle::SetPosition(std::uint32_t position) {
  if (!IsValid()) throw CInvalidHandle();
  if (lseek(Descriptor(handle_), static_cast<off_t>(position), SEEK_SET) >= 0) {
    read_position_.reset();
    return;
  }
  RememberSystemError();
  throw CSetFilePointerExcept();
}

std::optional<FileStatus> CFileHandle::Status() const {
  struct stat record {};
  if (fstat(Descriptor(handle_), &record) == 0) return ToFileStatus(record);
  RememberSystemError();
  return std::nullopt;
}

bool CFileHandle::Truncate(std::uint64_t size_bytes) {
  const off_t size = static_cast<off_t>(size_bytes);
  read_position_.reset();
  if (Retrying([&] { return ftruncate(Descriptor(handle_), size); }) == 0 &&
      lseek(Descriptor(handle_), size, SEEK_SET) == size) {
    return true;
  }
  RememberSystemError();
  return false;
}

bool CFileHandle::SetDate(std::uint32_t seconds) {
  const timespec both[2] = {{static_cast<time_t>(seconds), 0}, {static_cast<time_t>(seconds), 0}};
  if (Retrying([&] { return futimens(Descriptor(handle_), both); }) == 0) return true;
  RememberSystemError();
  return false;
}

bool CFileHandle::SetLastWriteTime(std::uint64_t file_time) {
  const auto time = TimeOfFileTime(file_time);
  if (!time) {
    RememberErrno(EINVAL);
    return false;
  }
  const timespec both[2] = {{0, UTIME_OMIT},
                            {static_cast<time_t>(time->seconds), time->nanoseconds}};
  if (Retrying([&] { return futimens(Descriptor(handle_), both); }) == 0) return true;
  RememberSystemError();
  return false;
}

bool CFileHandle::SetAttributes(std::uint32_t attributes, bool executable) {
  const mode_t permissions = PermissionsOf(attributes, executable);
  if (Retrying([&] { return fchmod(Descriptor(handle_), permissions); }) == 0) return true;
  RememberSystemError();
  return false;
}

bool CFileHandle::SetPermissions(std::uint32_t bits) {
  const auto permissions = static_cast<mode_t>(bits & kModePermissions);
  if (Retrying([&] { return fchmod(Descriptor(handle_), permissions); }) == 0) return true;
  RememberSystemError();
  return false;
}

}  // namespace moldex

#include "platform/open_file_posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_handle.h"
#include "platform/locked_file_posix.h"
#include "platform/retry_posix.h"
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

// Whether transfers may have to wait for somebody else. Directories fail: open() gives a descriptor
// for them, but they hold no bytes to read. Opening did not wait for the other end of a pipe;
// reading has to.
Result<bool> MayWait(int descriptor) {
  struct stat record {};
  if (fstat(descriptor, &record) != 0) return RememberSystemError();
  if (S_ISDIR(record.st_mode)) return RememberErrno(EISDIR);
  const bool is_regular = S_ISREG(record.st_mode);
  if (!is_regular) fcntl(descriptor, F_SETFL, 0);
  return !is_regular;
}

// Turns the file of that name into an empty file that only its owner can reach.
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

// How an extracted file treats a file that has its name.
enum class Former { kEmptied, kReplaced, kKept };

// A read-only file is kept, whatever the user may do. Another user's file is replaced, since its
// owner may have it open. A file with several names is replaced, since the other names keep its
// bytes.
Former Judge(int descriptor) {
  struct stat record {};
  if (fstat(descriptor, &record) != 0 || !S_ISREG(record.st_mode)) return Former::kEmptied;
  if ((record.st_mode & S_IWUSR) == 0) return Former::kKept;
  return record.st_nlink > 1 || record.st_uid != geteuid() ? Former::kReplaced : Former::kEmptied;
}

// Opens the file of that name, unless it has to give way to a new file.
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

// Whether the owner of a new file has the rights to it. Looked up once.
bool UmaskLeavesOwnerRights() {
  static const bool leaves = [] {
    const mode_t mask = umask(0777);
    umask(mask);
    return (mask & kOwnerOnly) == 0;
  }();
  return leaves;
}

// Makes an empty file that only its owner can reach. Fails if anything has the name.
int OpenNewFile(const char* path) {
  const int descriptor = OpenRetrying(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly);
  if (descriptor >= 0 && !UmaskLeavesOwnerRights()) (void)fchmod(descriptor, kOwnerOnly);
  return descriptor;
}

// See kOpenExtracted.
int OpenExtractedFile(const char* path, bool must_be_new) {
  const SystemError before = LastSystemError();
  const int descriptor = OpenNewFile(path);
  if (descriptor >= 0 || errno != EEXIST || must_be_new) return descriptor;
  RestoreSystemError(before);
  bool replace = false;
  const int former = OpenFormerFile(path, &replace);
  if (!replace) return former;
  if (unlink(path) == 0) return OpenNewFile(path);
  RememberSystemError();
  return -1;
}

}  // namespace

Result<OpenedFile> OpenFile(const char* path, unsigned flags) {
  if ((flags & kOpenExtracted) != 0) {
    const int descriptor = OpenExtractedFile(path, (flags & kOpenNew) != 0);
    if (descriptor < 0) return LastSystemError();
    return OpenedFile{descriptor, false};
  }
  const int descriptor = (flags & kOpenReadWrite) != 0
                             ? OpenLocked(path, (flags & kOpenCreate) != 0)
                             : OpenRetrying(path, OpenFlagsOf(flags), kNewFileMode);
  if (descriptor < 0) return LastSystemError();
  const auto may_wait = MayWait(descriptor);
  if (may_wait) return OpenedFile{descriptor, *may_wait};
  close(descriptor);
  return may_wait.error();
}

}  // namespace moldex

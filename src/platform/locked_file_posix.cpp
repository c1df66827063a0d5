#include "platform/locked_file_posix.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "platform/retry_posix.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr mode_t kNewFileMode = 0666;  // less the umask

int Open(const char* path, int flags) {
  const int descriptor = Retrying([&] { return open(path, flags | O_CLOEXEC, kNewFileMode); });
  if (descriptor < 0) RememberSystemError();
  return descriptor;
}

int Fail(int descriptor) {
  RememberSystemError();
  close(descriptor);
  return -1;
}

// Opening a named pipe that nobody reads fails at once, so that the run can be asked to end while
// it waits.
int OpenForWritingAlone(const char* path, bool is_pipe) {
  constexpr timespec kPause = {0, 20'000'000};
  int descriptor = -1;
  for (;;) {
    descriptor = Open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY);
    if (descriptor >= 0 || !is_pipe || errno != ENXIO) break;
    ThrowIfInterrupted();
    (void)nanosleep(&kPause, nullptr);
  }
  if (descriptor >= 0) (void)fcntl(descriptor, F_SETFL, 0);
  return descriptor;
}

// Whether nobody else has locked the file. Any other failure means that the file system has no
// locks, and the file is used unlocked.
bool Lock(int descriptor) {
  return flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

// Whether `path` still names the file: a run that had it locked may have deleted it just before.
bool IsNamed(const struct stat& record, const char* path) {
  struct stat named {};
  return stat(path, &named) == 0 && named.st_dev == record.st_dev && named.st_ino == record.st_ino;
}

bool Empty(int descriptor) {
  struct stat record {};
  if (fstat(descriptor, &record) != 0) return false;
  return record.st_size == 0 || Retrying([&] { return ftruncate(descriptor, 0); }) == 0;
}

bool IsSpecial(const struct stat& record) {
  return !S_ISREG(record.st_mode) && !S_ISDIR(record.st_mode);
}

}  // namespace

int OpenLocked(const char* path, bool create) {
  // Ends the loop on a file system that numbers a file differently each time: there the path never
  // seems to name the file.
  constexpr int kAttempts = 3;
  for (int attempt = 1;; ++attempt) {
    struct stat record {};
    if (create && stat(path, &record) == 0 && IsSpecial(record)) {
      return OpenForWritingAlone(path, S_ISFIFO(record.st_mode));
    }
    const int descriptor = Open(path, O_RDWR | (create ? O_CREAT : O_NONBLOCK));
    if (descriptor < 0) return -1;
    if (fstat(descriptor, &record) != 0) return Fail(descriptor);
    if (!S_ISREG(record.st_mode)) return descriptor;
    if (!Lock(descriptor)) return Fail(descriptor);
    if (IsNamed(record, path) || attempt == kAttempts) {
      return !create || Empty(descriptor) ? descriptor : Fail(descriptor);
    }
    close(descriptor);
  }
}

}  // namespace moldex

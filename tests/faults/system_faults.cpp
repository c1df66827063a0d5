#include "faults/system_faults.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "driver/program.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

std::vector<FaultPlan> armed;
CallCounts* calls_made = nullptr;  // in memory that parent and child share
bool running = false;

// The fault that this call has to make, or null.
const FaultPlan* Due(Call call) {
  if (!running) return nullptr;
  const int number = ++(*calls_made)[static_cast<std::size_t>(call)];
  for (const FaultPlan& plan : armed) {
    if (plan.call != call) continue;
    const bool again = plan.fault == Fault::kStaysFull && number > plan.nth;
    if (number == plan.nth || again) return &plan;
  }
  return nullptr;
}

int ErrnoOf(Fault fault) {
  if (fault == Fault::kIoError) return EIO;
  return fault == Fault::kInterrupted ? EINTR : ENOSPC;
}

// A call that succeeds or fails and moves nothing.
template <typename Real, typename... Arguments>
auto Attempt(Call call, Real real, Arguments... arguments) -> decltype(real(arguments...)) {
  const FaultPlan* plan = Due(call);
  if (plan == nullptr) return real(arguments...);
  if (call == Call::kClose) (void)real(arguments...);  // the descriptor is gone either way
  errno = ErrnoOf(plan->fault);
  return -1;
}

std::size_t ShortenedBy(const FaultPlan& plan, std::size_t count) {
  if (plan.fault == Fault::kStaysFull) return count / 2;
  return count > 1 ? count - 1 : count;
}

// A call that moves bytes, with the arguments that follow their count.
template <typename Real, typename Bytes, typename... More>
ssize_t Move(Call call, Real real, int descriptor, Bytes* bytes, std::size_t count, More... more) {
  const FaultPlan* plan = Due(call);
  if (plan == nullptr) return real(descriptor, bytes, count, more...);
  const bool first = CountOf(*calls_made, call) == plan->nth;
  const bool moves = plan->fault == Fault::kOneByteShort || plan->fault == Fault::kStaysFull;
  if (moves && first) return real(descriptor, bytes, ShortenedBy(*plan, count), more...);
  errno = ErrnoOf(plan->fault);
  return -1;
}

}  // namespace
}  // namespace moldex::test

using moldex::test::Attempt;
using moldex::test::Call;
using moldex::test::Move;

// NOLINTBEGIN: the linker prescribes these names
extern "C" {

int __real_open64(const char* path, int flags, ...);
int __wrap_open64(const char* path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return Attempt(Call::kOpen, __real_open64, path, flags, mode);
}

ssize_t __real_read(int descriptor, void* bytes, size_t count);
ssize_t __wrap_read(int descriptor, void* bytes, size_t count) {
  return Move(Call::kRead, __real_read, descriptor, bytes, count);
}

ssize_t __real_pread64(int descriptor, void* bytes, size_t count, off64_t position);
ssize_t __wrap_pread64(int descriptor, void* bytes, size_t count, off64_t position) {
  return Move(Call::kRead, __real_pread64, descriptor, bytes, count, position);
}

ssize_t __real_write(int descriptor, const void* bytes, size_t count);
ssize_t __wrap_write(int descriptor, const void* bytes, size_t count) {
  if (descriptor == STDOUT_FILENO) return __real_write(descriptor, bytes, count);
  return Move(Call::kWrite, __real_write, descriptor, bytes, count);
}

off64_t __real_lseek64(int descriptor, off64_t offset, int from);
off64_t __wrap_lseek64(int descriptor, off64_t offset, int from) {
  return Attempt(Call::kSeek, __real_lseek64, descriptor, offset, from);
}

int __real_close(int descriptor);
int __wrap_close(int descriptor) { return Attempt(Call::kClose, __real_close, descriptor); }

int __real_mkdir(const char* path, mode_t mode);
int __wrap_mkdir(const char* path, mode_t mode) {
  return Attempt(Call::kMkdir, __real_mkdir, path, mode);
}

int __real_chmod(const char* path, mode_t mode);
int __wrap_chmod(const char* path, mode_t mode) {
  return Attempt(Call::kChmod, __real_chmod, path, mode);
}

int __real_fchmod(int descriptor, mode_t mode);
int __wrap_fchmod(int descriptor, mode_t mode) {
  return Attempt(Call::kChmod, __real_fchmod, descriptor, mode);
}

int __real_futimens(int descriptor, const struct timespec times[2]);
int __wrap_futimens(int descriptor, const struct timespec times[2]) {
  return Attempt(Call::kUtime, __real_futimens, descriptor, times);
}

int __real_utimensat(int folder, const char* path, const struct timespec times[2], int flags);
int __wrap_utimensat(int folder, const char* path, const struct timespec times[2], int flags) {
  return Attempt(Call::kUtime, __real_utimensat, folder, path, times, flags);
}

int __real_ftruncate64(int descriptor, off64_t size);
int __wrap_ftruncate64(int descriptor, off64_t size) {
  return Attempt(Call::kTruncate, __real_ftruncate64, descriptor, size);
}

int __real_symlink(const char* target, const char* path);
int __wrap_symlink(const char* target, const char* path) {
  return Attempt(Call::kLink, __real_symlink, target, path);
}

}  // extern "C"
// NOLINTEND

namespace moldex::test {
namespace {

[[noreturn]] void RunChild(const std::filesystem::path& folder, Words words, int output,
                           const std::vector<FaultPlan>& plans,
                           const std::function<void()>& prepare) {
  words.insert(words.begin(), "moldex");
  std::vector<char*> argv = ArgumentsOf(words);
  if (chdir(folder.c_str()) != 0 || dup2(output, STDOUT_FILENO) < 0) _exit(126);
  (void)alarm(60);
  if (prepare) prepare();
  armed = plans;
  running = true;
  const int status = Main(static_cast<int>(words.size()), argv.data());
  running = false;
  (void)std::fflush(stdout);
  _exit(status);
}

}  // namespace

const char* NameOf(Call call) {
  constexpr const char* kNames[] = {"open",  "read",  "write", "seek",     "close",
                                    "mkdir", "chmod", "utime", "truncate", "link"};
  return kNames[static_cast<std::size_t>(call)];
}

FaultyRun RunWithFaults(const std::filesystem::path& folder, const Words& arguments,
                        const std::vector<FaultPlan>& plans, const std::function<void()>& prepare) {
  static const std::string output_name = "/tmp/moldex-faults-" + std::to_string(getpid());
  if (calls_made == nullptr) {
    void* shared = mmap(nullptr, sizeof(CallCounts), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) throw std::runtime_error("mmap");
    calls_made = static_cast<CallCounts*>(shared);
  }
  calls_made->fill(0);
  const int output = open(output_name.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
  if (output < 0) throw std::runtime_error("open");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) RunChild(folder, arguments, output, plans, prepare);
  int state = 0;
  if (waitpid(child, &state, 0) != child) throw std::runtime_error("waitpid");
  FaultyRun run;
  if (WIFEXITED(state)) run.status = WEXITSTATUS(state);
  run.out = ReadFile(output_name);
  run.calls = *calls_made;
  (void)close(output);
  (void)unlink(output_name.c_str());
  return run;
}

}  // namespace moldex::test

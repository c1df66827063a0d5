#include "faults/system_faults.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "driver/program.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

// How many calls of each kind were made, by any thread.
using SharedCounts = std::array<std::atomic<int>, std::size(kAllCalls)>;

std::vector<FaultPlan> armed;
SharedCounts* calls_made = nullptr;  // in memory that parent and child share
bool running = false;

struct DueFault {
  Fault fault;
  bool is_first;
};

// The fault that this call has to make, if any.
std::optional<DueFault> Due(Call call) {
  if (!running) return {};
  const int number = ++(*calls_made)[static_cast<std::size_t>(call)];
  for (const FaultPlan& plan : armed) {
    if (plan.call != call || !plan.file.empty() || plan.fault == Fault::kFewHandles) continue;
    const bool again = plan.fault == Fault::kStaysFull && number > plan.nth;
    if (number != plan.nth && !again) continue;
    if (plan.fault != Fault::kSignal) return DueFault{plan.fault, !again};
    (void)kill(getpid(), SIGTERM);
  }
  return {};
}

// The same for bytes from a position of a file on. Takes away from their count those that fail,
// while others come before them.
std::optional<DueFault> DueAt(Call call, int descriptor, off64_t position, std::size_t& count) {
  for (const FaultPlan& plan : armed) {
    if (!running || plan.call != call || plan.file.empty()) continue;
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    char path[PATH_MAX] = {};
    if (readlink(link.c_str(), path, sizeof path - 1) < 0 || path != plan.file) continue;
    const off64_t before = plan.nth - position;
    if (before <= 0) return DueFault{plan.fault, true};
    count = std::min(count, static_cast<std::size_t>(before));
  }
  return {};
}

// The descriptor, unless it is one too many.
int Limited(int descriptor) {
  for (const FaultPlan& plan : armed) {
    if (!running || plan.fault != Fault::kFewHandles || descriptor < plan.nth) continue;
    (void)close(descriptor);
    errno = EMFILE;
    return -1;
  }
  return descriptor;
}

int ErrnoOf(Fault fault) {
  if (fault == Fault::kIoError) return EIO;
  return fault == Fault::kInterrupted ? EINTR : ENOSPC;
}

// A call that succeeds or fails and moves nothing.
template <typename Real, typename... Arguments>
auto Attempt(Call call, Real real, Arguments... arguments) -> decltype(real(arguments...)) {
  const auto due = Due(call);
  if (!due) return real(arguments...);
  if (call == Call::kClose) (void)real(arguments...);  // the descriptor is gone either way
  errno = ErrnoOf(due->fault);
  return -1;
}

std::size_t ShortenedBy(Fault fault, std::size_t count) {
  if (fault == Fault::kStaysFull) return count / 2;
  return count > 1 ? count - 1 : count;
}

// A call that moves bytes at a position, with the arguments that follow their count.
template <typename Real, typename Bytes, typename... More>
ssize_t Move(Call call, off64_t position, Real real, int descriptor, Bytes* bytes,
             std::size_t count, More... more) {
  auto due = Due(call);
  if (!due) due = DueAt(call, descriptor, position, count);
  if (!due) return real(descriptor, bytes, count, more...);
  if (due->fault == Fault::kEndsThere) return 0;
  const bool moves = due->fault == Fault::kOneByteShort || due->fault == Fault::kStaysFull;
  if (moves && due->is_first)
    return real(descriptor, bytes, ShortenedBy(due->fault, count), more...);
  errno = ErrnoOf(due->fault);
  return -1;
}

void* NewMemory(std::size_t bytes) {
  void* const memory = Due(Call::kMemory) ? nullptr : std::malloc(std::max<std::size_t>(bytes, 1));
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* NewMemoryOrNull(std::size_t bytes) noexcept {
  try {
    return NewMemory(bytes);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace
}  // namespace moldex::test

// All of them, so that none of a sanitizer's is left: it would find that these do not match.
// NOLINTBEGIN(misc-new-delete-overloads)
void* operator new(std::size_t bytes) { return moldex::test::NewMemory(bytes); }
void* operator new[](std::size_t bytes) { return moldex::test::NewMemory(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t& /*unused*/) noexcept {
  return moldex::test::NewMemoryOrNull(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t& /*unused*/) noexcept {
  return moldex::test::NewMemoryOrNull(bytes);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*bytes*/) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*bytes*/) noexcept { std::free(memory); }
// NOLINTEND(misc-new-delete-overloads)

using moldex::test::Attempt;
using moldex::test::Call;
using moldex::test::Limited;
using moldex::test::Move;

// NOLINTBEGIN: the linker prescribes these names
extern "C" {

int __real_open64(const char* path, int flags, ...);
int __wrap_open64(const char* path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return Limited(Attempt(Call::kOpen, __real_open64, path, flags, mode));
}

off64_t __real_lseek64(int descriptor, off64_t offset, int from);
off64_t __wrap_lseek64(int descriptor, off64_t offset, int from) {
  return Attempt(Call::kSeek, __real_lseek64, descriptor, offset, from);
}

static off64_t PositionOf(int descriptor) { return __real_lseek64(descriptor, 0, SEEK_CUR); }

ssize_t __real_read(int descriptor, void* bytes, size_t count);
ssize_t __wrap_read(int descriptor, void* bytes, size_t count) {
  return Move(Call::kRead, PositionOf(descriptor), __real_read, descriptor, bytes, count);
}

ssize_t __real_pread64(int descriptor, void* bytes, size_t count, off64_t position);
ssize_t __wrap_pread64(int descriptor, void* bytes, size_t count, off64_t position) {
  return Move(Call::kRead, position, __real_pread64, descriptor, bytes, count, position);
}

ssize_t __real_write(int descriptor, const void* bytes, size_t count);
ssize_t __wrap_write(int descriptor, const void* bytes, size_t count) {
  if (descriptor == STDOUT_FILENO) return __real_write(descriptor, bytes, count);
  return Move(Call::kWrite, PositionOf(descriptor), __real_write, descriptor, bytes, count);
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

// std::thread::_M_start_thread: the object, a reference to its unique_ptr, and a function.
void __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    void* thread, void* state, void (*depend)());
void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    void* thread, void* state, void (*depend)()) {
  if (Attempt(Call::kThread, [] { return 0; }) != 0)
    throw std::system_error(EAGAIN, std::generic_category());
  __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
      thread, state, depend);
}

}  // extern "C"
// NOLINTEND

namespace moldex::test {
namespace {

// Nothing may handle what Main leaves unhandled.
[[noreturn]] void RunChild(const std::filesystem::path& folder, Words words, int output,
                           const std::vector<FaultPlan>& plans,
                           const std::function<void()>& prepare) noexcept {
  words.insert(words.begin(), "moldex");
  std::vector<char*> argv = ArgumentsOf(words);
  if (chdir(folder.c_str()) != 0 || dup2(output, STDOUT_FILENO) < 0) _exit(126);
  (void)alarm(60);
  if (prepare) prepare();
  armed = plans;
  for (FaultPlan& plan : armed)
    if (!plan.file.empty()) plan.file = std::filesystem::current_path() / plan.file;
  running = true;
  const int status = Main(static_cast<int>(words.size()), argv.data());
  running = false;
  (void)std::fflush(stdout);
  _exit(status);
}

}  // namespace

const char* NameOf(Call call) {
  constexpr const char* kNames[] = {"open",  "read",  "write",    "seek", "close",  "mkdir",
                                    "chmod", "utime", "truncate", "link", "thread", "memory"};
  return kNames[static_cast<std::size_t>(call)];
}

FaultyRun RunWithFaults(const std::filesystem::path& folder, const Words& arguments,
                        const std::vector<FaultPlan>& plans, const std::function<void()>& prepare) {
  static const std::string output_name = "/tmp/moldex-faults-" + std::to_string(getpid());
  if (calls_made == nullptr) {
    void* shared = mmap(nullptr, sizeof(SharedCounts), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) throw std::runtime_error("mmap");
    calls_made = static_cast<SharedCounts*>(shared);
  }
  for (auto& count : *calls_made)
    count = 0;
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
  std::ranges::copy(*calls_made, run.calls.begin());
  (void)close(output);
  (void)unlink(output_name.c_str());
  return run;
}

}  // namespace moldex::test

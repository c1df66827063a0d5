#include "platform/memory.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace moldex {
namespace {

// Commands need about 20 KiB, and system libraries some more now and then.
constexpr rlim_t kNeededStackBytes = 32 * 1024;

// The stack grows downwards from the texts of the environment, which count as part of it.
rlim_t UsedStackBytes() {
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  std::uintptr_t top = here;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
    top = std::max(top, reinterpret_cast<std::uintptr_t>(*variable + std::strlen(*variable)));
  return top - here;
}

}  // namespace

// Asks the system itself: malloc may keep what it was given, and hand out memory in other ways
// after so large a block.
bool MemorySuffices(std::size_t bytes) {
  void* const block =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) return false;
  munmap(block, bytes);
  return true;
}

bool StackSuffices() {
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return true;
  const rlim_t used = UsedStackBytes();
  return limit.rlim_cur > used && limit.rlim_cur - used >= kNeededStackBytes;
}

void ShareMemoryAmongThreads() {
#ifdef M_ARENA_MAX
  (void)mallopt(M_ARENA_MAX, 1);
#endif
}

}  // namespace moldex

#include "platform/memory.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace moldex {
namespace {

// Commands need about 20 KiB, and system libraries some more now and then.
constexpr rlim_t kNeededBytes = 32 * 1024;

// The stack grows downwards from the texts of the environment, which count as part of it.
rlim_t UsedBytes() {
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  std::uintptr_t top = here;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
    top = std::max(top, reinterpret_cast<std::uintptr_t>(*variable + std::strlen(*variable)));
  return top - here;
}

}  // namespace

bool StackSuffices() {
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return true;
  const rlim_t used = UsedBytes();
  return limit.rlim_cur > used && limit.rlim_cur - used >= kNeededBytes;
}

}  // namespace moldex

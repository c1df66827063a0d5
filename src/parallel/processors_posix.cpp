#include <sched.h>

#include "parallel/processors.h"

namespace moldex::internal {

// The set that the call fills holds 1024 processors. On a system with more it fails.
unsigned UsableProcessors() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (sched_getaffinity(0, sizeof set, &set) != 0) return 0;
  return static_cast<unsigned>(CPU_COUNT(&set));
}

}  // namespace moldex::internal

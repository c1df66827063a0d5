#include <windows.h>

#include <bit>

#include "parallel/processors.h"

namespace moldex::internal {

// The processors of one group, at most 64. Threads are not spread over groups.
unsigned UsableProcessors() {
  DWORD_PTR of_process = 0;
  DWORD_PTR of_system = 0;
  if (!GetProcessAffinityMask(GetCurrentProcess(), &of_process, &of_system)) return 0;
  return static_cast<unsigned>(std::popcount(of_process));
}

}  // namespace moldex::internal

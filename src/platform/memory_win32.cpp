#include "platform/memory.h"

#include <windows.h>

#include <cstddef>

namespace moldex {
namespace {

// Commands allocate up to about 1,000 KiB, names aside, most of it for coders and their buffers.
constexpr std::size_t kNeededMemoryBytes = std::size_t{1280} * 1024;

}  // namespace

bool MemorySuffices() {
  void* const block =
      VirtualAlloc(nullptr, kNeededMemoryBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (block == nullptr) return false;
  VirtualFree(block, 0, MEM_RELEASE);
  return true;
}

bool StackSuffices() { return true; }

}  // namespace moldex

#include "platform/memory.h"

#include <windows.h>

namespace moldex {

bool MemorySuffices(std::size_t bytes) {
  void* const block = VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (block == nullptr) return false;
  VirtualFree(block, 0, MEM_RELEASE);
  return true;
}

void ShareMemoryAmongThreads() {}

bool StackSuffices() { return true; }

}  // namespace moldex

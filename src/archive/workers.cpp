#include "archive/workers.h"

#include <cstddef>

#include "parallel/processors.h"
#include "platform/memory.h"

namespace moldex {
namespace {

constexpr std::size_t kMiB = std::size_t{1024} * 1024;
constexpr std::size_t kRunBytes = 8 * kMiB;
// A stack, of which little is used, with coder and buffers.
constexpr std::size_t kWorkerBytes = 16 * kMiB;

}  // namespace

unsigned WorkersFor(const CCmdLineOptions& options) {
  unsigned workers = options.workers != 0 ? options.workers : WorkerCount();
  while (workers > 1 && !MemorySuffices(kRunBytes + workers * kWorkerBytes))
    --workers;
  if (workers > 1) ShareMemoryAmongThreads();
  return workers;
}

}  // namespace moldex

// The entry point of every target. An input that takes more time or memory than its length allows
// counts as a failure.
//
// The program promises a millisecond for each KB, and 8 MiB. The sanitizers and the targets' own
// work take a multiple of that time, and a command takes some time to start even on a short input.
#include <algorithm>
#include <cstdio>
#include <ctime>

#include "fuzz/target.h"

// Functions of AddressSanitizer. Without it they are absent, and memory is not checked.
extern "C" {
[[gnu::weak]] int __sanitizer_install_malloc_and_free_hooks(
    void (*on_allocation)(const volatile void*, std::size_t),
    void (*on_release)(const volatile void*));
[[gnu::weak]] std::size_t __sanitizer_get_allocated_size(const volatile void* place);
}

namespace {

constexpr std::size_t kMillisecondsForAny = 200;
constexpr std::size_t kMillisecondsForKilobyte = 20;
constexpr std::ptrdiff_t kMostBytes = 8 << 20;

std::size_t allowed_bytes = 0;
std::ptrdiff_t held_bytes = 0;
std::ptrdiff_t most_held_bytes = 0;

void OnAllocation(const volatile void* /*place*/, std::size_t size) {
  held_bytes += static_cast<std::ptrdiff_t>(size);
  most_held_bytes = std::max(most_held_bytes, held_bytes);
}

void OnRelease(const volatile void* place) {
  if (place == nullptr) return;
  held_bytes -= static_cast<std::ptrdiff_t>(__sanitizer_get_allocated_size(place));
}

std::size_t Milliseconds() {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<std::size_t>(used.tv_sec * 1000 + used.tv_nsec / 1'000'000);
}

bool WatchMemory() {
  return __sanitizer_install_malloc_and_free_hooks != nullptr &&
         __sanitizer_install_malloc_and_free_hooks(OnAllocation, OnRelease) != 0;
}

}  // namespace

void moldex::fuzz::AllowFor(std::size_t bytes) { allowed_bytes += bytes; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  [[maybe_unused]] static const bool watches = WatchMemory();
  allowed_bytes = size;
  held_bytes = most_held_bytes = 0;
  const std::size_t start = Milliseconds();
  moldex::fuzz::TryInput({data, size});
  const std::size_t taken = Milliseconds() - start;
  const std::size_t allowed = kMillisecondsForAny + allowed_bytes * kMillisecondsForKilobyte / 1024;
  if (taken > allowed || most_held_bytes > kMostBytes) {
    std::fprintf(stderr, "%zu bytes: %zu ms of %zu, %td bytes held\n", size, taken, allowed,
                 most_held_bytes);
    std::abort();
  }
  return 0;
}

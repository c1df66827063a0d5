// What a fuzz target is made of: it tries one input, and ends the process where a promise is
// broken.
#ifndef MOLDEX_FUZZ_TARGET_H_
#define MOLDEX_FUZZ_TARGET_H_

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

namespace moldex::fuzz {

using ByteSpan = std::span<const std::uint8_t>;

// Defined by each target. Time and memory for an input of this length are bounded (bounds.cpp).
void TryInput(ByteSpan input);

// The input rightly makes work for so many bytes more.
void AllowFor(std::size_t bytes);

inline void Require(bool promise, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
  if (promise) return;
  std::fprintf(stderr, "%s:%d: a promise is broken\n", file, line);
  std::abort();
}

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_TARGET_H_

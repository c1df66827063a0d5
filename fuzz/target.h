// The interface of a fuzz target: it tries one input, and ends the process when a promise is
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

// Allows the time for this many more bytes, which the input rightly makes the program process.
void AllowFor(std::size_t bytes);

inline void Require(bool promise, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
  if (promise) return;
  std::fprintf(stderr, "%s:%d: a promise is broken\n", file, line);
  std::abort();
}

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_TARGET_H_

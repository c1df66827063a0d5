// The memory that the system leaves to the program.
#ifndef MOLDEX_PLATFORM_MEMORY_H_
#define MOLDEX_PLATFORM_MEMORY_H_

#include <cstddef>

namespace moldex {

// Commands allocate up to about 1,000 KiB on one thread, names aside, most of it for coders and
// their buffers.
inline constexpr std::size_t kCommandBytes = std::size_t{1280} * 1024;

// Both are asked once, before a command begins, so that too little memory is reported before
// anything is written.

// Whether the system gives this much memory at once. Every command needs kCommandBytes; lists of
// names come on top.
bool MemorySuffices(std::size_t bytes);

// Whether the stack has space for every command; a stack that is too small ends the process without
// a message. Always true where the system gives every process the stack that it asks for.
bool StackSuffices();

// To be called before the first thread is made. The C library may otherwise give each thread
// address space of its own, tens of megabytes, which counts where the user has limited it.
void ShareMemoryAmongThreads();

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_MEMORY_H_

// The memory that the system leaves to the program.
#ifndef MOLDEX_PLATFORM_MEMORY_H_
#define MOLDEX_PLATFORM_MEMORY_H_

namespace moldex {

// Both are asked once, before a command begins, so that too little memory is reported before
// anything is written.

// Whether the system gives as much memory as every command needs. Lists of names come on top.
bool MemorySuffices();

// Whether the stack has space for every command; a stack that is too small ends the process without
// a message. Always true where the system gives every process the stack that it asks for.
bool StackSuffices();

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_MEMORY_H_

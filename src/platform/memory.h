// What memory the system leaves to the program.
#ifndef MOLDEX_PLATFORM_MEMORY_H_
#define MOLDEX_PLATFORM_MEMORY_H_

namespace moldex {

// Whether the stack has room for every command. A stack that is too small ends the process without
// a word in the middle of its work: to be asked before that begins. Always true where the system
// gives every process the stack that it asks for.
bool StackSuffices();

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_MEMORY_H_

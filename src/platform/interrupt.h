// Requests from outside to end the run: Ctrl-C, and what else asks a program to end.
//
// Whatever runs long asks ThrowIfInterrupted between two pieces of its work, and the failure that
// it throws ends the run as others do: an archive that is being written is left whole.
#ifndef MOLDEX_PLATFORM_INTERRUPT_H_
#define MOLDEX_PLATFORM_INTERRUPT_H_

#include "report/interrupt_status.h"

namespace moldex {

namespace interrupt {

// Throws CInterruptExcept, once in a run: whoever cleans up behind it is left alone.
void Throw();

// Leaves whoever cleans up behind another failure alone, too: nothing is thrown from now on.
void Mute();

}  // namespace interrupt

// From now on such requests are noted instead of ending the process at once. Output that nobody
// reads any more counts as one; a file that grows past the user's limit is an error like others.
void CatchInterrupts();

inline void ThrowIfInterrupted() {
  if (interrupt::status.load(std::memory_order_relaxed) != 0) interrupt::Throw();
}

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_INTERRUPT_H_

// Requests from outside to end the run: Ctrl-C and the other ways to ask a program to end.
//
// Long work calls ThrowIfInterrupted between two pieces. The failure that it throws ends the run
// like any other: an archive that is being written is left whole.
#ifndef MOLDEX_PLATFORM_INTERRUPT_H_
#define MOLDEX_PLATFORM_INTERRUPT_H_

#include "report/interrupt_status.h"

namespace moldex {

namespace interrupt {

// Throws CInterruptExcept, but only once in a run, so that the cleanup is not interrupted again.
void Throw();

// From now on Throw does nothing, so that the cleanup after another failure is not interrupted.
void Mute();

}  // namespace interrupt

// From now on such requests are noted instead of ending the process at once. Writing output that
// nobody reads any more counts as one. A file that grows past the user's limit is an ordinary
// error.
void CatchInterrupts();

inline void ThrowIfInterrupted() {
  if (interrupt::status.load(std::memory_order_relaxed) != 0) interrupt::Throw();
}

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_INTERRUPT_H_

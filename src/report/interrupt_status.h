// The request to end the run, for code that waits. Code that works calls platform/interrupt.h.
#ifndef MOLDEX_REPORT_INTERRUPT_STATUS_H_
#define MOLDEX_REPORT_INTERRUPT_STATUS_H_

#include <atomic>

namespace moldex::interrupt {

// The exit status of a run that is asked to end; 0 otherwise. A signal handler or another thread
// sets it.
inline std::atomic<int> status = 0;
static_assert(std::atomic<int>::is_always_lock_free);

}  // namespace moldex::interrupt

#endif  // MOLDEX_REPORT_INTERRUPT_STATUS_H_

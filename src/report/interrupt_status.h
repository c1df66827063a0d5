// The wish that the run ends, for whoever waits. Whoever works asks platform/interrupt.h.
#ifndef MOLDEX_REPORT_INTERRUPT_STATUS_H_
#define MOLDEX_REPORT_INTERRUPT_STATUS_H_

#include <atomic>

namespace moldex::interrupt {

// Exit status of the run that is asked to end; 0 while none is. A signal handler or another thread
// sets it.
inline std::atomic<int> status = 0;
static_assert(std::atomic<int>::is_always_lock_free);

}  // namespace moldex::interrupt

#endif  // MOLDEX_REPORT_INTERRUPT_STATUS_H_

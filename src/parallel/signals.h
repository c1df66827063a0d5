// Signals, in a process with several threads.
#ifndef MOLDEX_PARALLEL_SIGNALS_H_
#define MOLDEX_PARALLEL_SIGNALS_H_

#include <functional>

namespace moldex::internal {

// Runs `make`. The threads that it makes never take a signal: signals are for the first thread, and
// end only its waits. Throws what `make` throws. Where signals come on a thread of their own, this
// is a mere call.
void MakeWithoutSignals(const std::function<void()>& make);

}  // namespace moldex::internal

#endif  // MOLDEX_PARALLEL_SIGNALS_H_

// Shared by the POSIX sources of this module only: calls that a signal cut short.
#ifndef MOLDEX_PLATFORM_RETRY_POSIX_H_
#define MOLDEX_PLATFORM_RETRY_POSIX_H_

#include <cerrno>

#include "platform/interrupt.h"

namespace moldex {

// Makes a system call again until no signal interrupts it. Throws CInterruptExcept when the signal
// asks the run to end: the call might wait for somebody else.
template <typename Call>
auto Retrying(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
    ThrowIfInterrupted();
  }
}

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_RETRY_POSIX_H_

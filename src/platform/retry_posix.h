// Shared by the POSIX sources of this module only: calls that a signal cut short.
#ifndef MOLDEX_PLATFORM_RETRY_POSIX_H_
#define MOLDEX_PLATFORM_RETRY_POSIX_H_

#include <cerrno>

#include "platform/interrupt.h"
#include "platform/result.h"

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

// The same as a result, of a call that returns 0 when it succeeds.
template <typename Call>
Result<void> RetriedCall(Call call) {
  if (Retrying(call) != 0) return RememberSystemError();
  return {};
}

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_RETRY_POSIX_H_

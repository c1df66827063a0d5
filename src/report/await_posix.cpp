#include "report/await_posix.h"

#include <poll.h>

#include <cerrno>
#include <csignal>

#include "report/interrupt_status.h"

namespace moldex {

// A signal that arrives just before the system begins to wait would be noted, and the wait would go
// on. So signals are blocked before the status is read, and let through only during the wait.
bool AwaitReady(int descriptor, short events) {
  pollfd wait{descriptor, events, 0};
  if (poll(&wait, 1, 0) != 0) return true;
  sigset_t all;
  sigset_t former;
  sigfillset(&all);
  if (pthread_sigmask(SIG_BLOCK, &all, &former) != 0) return true;
  int ready = 0;
  while (interrupt::status == 0 && ready == 0) {
    ready = ppoll(&wait, 1, nullptr, &former);
    if (ready < 0 && errno == EINTR) ready = 0;
  }
  pthread_sigmask(SIG_SETMASK, &former, nullptr);
  return ready != 0;
}

}  // namespace moldex

// Shared by POSIX sources only: waiting for the other end of a pipe, a terminal or a socket.
#ifndef MOLDEX_REPORT_AWAIT_POSIX_H_
#define MOLDEX_REPORT_AWAIT_POSIX_H_

namespace moldex {

// Waits until a transfer through the descriptor would not block, or would fail. `events` is POLLIN
// or POLLOUT; POLLOUT promises space for PIPE_BUF bytes. False when the run is asked to end first,
// or was asked before the call.
bool AwaitReady(int descriptor, short events);

}  // namespace moldex

#endif  // MOLDEX_REPORT_AWAIT_POSIX_H_

#include "platform/interrupt.h"

#include <csignal>
#include <initializer_list>

namespace moldex {
namespace {

constexpr int kSignalStatus = 128;

void Note(int signal) { interrupt::status = kSignalStatus + signal; }

// Without SA_RESTART, so that a read that waits for somebody else returns. A signal that the parent
// ignores stays ignored: shells do that for commands in the background, and so does nohup.
void Catch(int signal) {
  struct sigaction action {};
  if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = Note;
  (void)sigaction(signal, &action, nullptr);
}

}  // namespace

void CatchInterrupts() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
    Catch(signal);
  (void)std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace moldex

#include "platform/interrupt.h"

#include <windows.h>

namespace moldex {
namespace {

// As other systems number them: 128 plus SIGINT, 128 plus SIGTERM.
constexpr int kCtrlCStatus = 130;
constexpr int kEndStatus = 143;

// Runs in a thread of its own. When the console is closed or the user logs off, the process ends as
// soon as this function returns, or a few seconds later if it does not. That gives the run time to
// end by itself.
BOOL WINAPI Note(DWORD event) {
  const bool is_key = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  interrupt::status = is_key ? kCtrlCStatus : kEndStatus;
  if (!is_key) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

void CatchInterrupts() { (void)SetConsoleCtrlHandler(Note, TRUE); }

}  // namespace moldex

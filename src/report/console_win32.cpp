#include "report/console.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>

namespace moldex {

// More than a line: a console shows no character of which it gets one half after the other.
constexpr std::size_t kBufferBytes = 65536;

// What goes to a console in text mode, the runtime library takes for text in the code page of the
// user's locale, which is another than the process's, and converts it. A console needs that mode
// for nothing: it begins a line at every line feed.
CConsoleCodePage::CConsoleCodePage() {
  if (!OutputIsTerminal()) return;
  (void)_setmode(_fileno(stdout), _O_BINARY);
  (void)std::setvbuf(stdout, nullptr, _IOFBF, kBufferBytes);
  const UINT former = GetConsoleOutputCP();
  if (former != GetACP() && SetConsoleOutputCP(GetACP()) != FALSE) former_ = former;
}

CConsoleCodePage::~CConsoleCodePage() {
  if (former_ != 0) (void)SetConsoleOutputCP(former_);
}

bool OutputIsTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != FALSE;
}

bool TerminalHasHighControls() { return false; }

}  // namespace moldex

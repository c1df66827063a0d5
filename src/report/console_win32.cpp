#include "report/console.h"

#include <windows.h>

namespace moldex {

CConsoleCodePage::CConsoleCodePage() {
  if (!OutputIsTerminal()) return;
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

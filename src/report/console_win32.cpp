#include "report/console.h"

#include <windows.h>

namespace moldex {

CConsoleCodePage::CConsoleCodePage() {
  DWORD mode = 0;
  if (GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) == FALSE) return;
  const UINT former = GetConsoleOutputCP();
  if (former != GetACP() && SetConsoleOutputCP(GetACP()) != FALSE) former_ = former;
}

CConsoleCodePage::~CConsoleCodePage() {
  if (former_ != 0) (void)SetConsoleOutputCP(former_);
}

}  // namespace moldex

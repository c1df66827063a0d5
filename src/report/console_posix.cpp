#include "report/console.h"

#include <unistd.h>

namespace moldex {

CConsoleCodePage::CConsoleCodePage() = default;

CConsoleCodePage::~CConsoleCodePage() { former_ = 0; }

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

bool TerminalHasHighControls() { return true; }

}  // namespace moldex

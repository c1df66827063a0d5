#include "report/console.h"

namespace moldex {

CConsoleCodePage::CConsoleCodePage() = default;

CConsoleCodePage::~CConsoleCodePage() { former_ = 0; }

}  // namespace moldex

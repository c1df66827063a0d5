// The console that standard output may be.
#ifndef MOLDEX_REPORT_CONSOLE_H_
#define MOLDEX_REPORT_CONSOLE_H_

namespace moldex {

// While it lives, a console takes text in the code page that the program's names are in. Its own is
// put back at the end. Does nothing where standard output is no console, or where consoles have no
// code page.
class CConsoleCodePage {
 public:
  CConsoleCodePage();
  ~CConsoleCodePage();
  CConsoleCodePage(const CConsoleCodePage&) = delete;
  CConsoleCodePage& operator=(const CConsoleCodePage&) = delete;

 private:
  unsigned former_ = 0;  // 0 when there is nothing to put back
};

// Whether standard output is a terminal that somebody looks at.
bool OutputIsTerminal();

// Whether terminals here obey the control characters above 0x7F, too, which are letters in the
// code pages of others.
bool TerminalHasHighControls();

}  // namespace moldex

#endif  // MOLDEX_REPORT_CONSOLE_H_

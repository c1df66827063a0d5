// Standard input, output and error, and the console that they may be.
#ifndef MOLDEX_REPORT_CONSOLE_H_
#define MOLDEX_REPORT_CONSOLE_H_

#include <cstddef>
#include <string_view>

namespace moldex {

// Makes sure that no file that the program opens is taken for standard input, output or error: each
// of these that was closed at the start is opened on a device, where input is at its end and output
// fails. Call this before anything else is opened.
void FillStandardDescriptors();

// While it lives, the console takes text in the code page of the program's names. The destructor
// restores the console's own code page. Has no effect where standard output is no console, or where
// consoles have no code page.
class CConsoleCodePage {
 public:
  CConsoleCodePage();
  ~CConsoleCodePage();
  CConsoleCodePage(const CConsoleCodePage&) = delete;
  CConsoleCodePage& operator=(const CConsoleCodePage&) = delete;

 private:
  unsigned former_ = 0;  // 0 when there is nothing to put back
};

// Whether standard output is a terminal.
bool OutputIsTerminal();

// Whether terminals on this system also obey the control characters above 0x7F. These are letters
// in the code pages of other systems.
bool TerminalHasHighControls();

// Whether standard error is a terminal.
bool ErrorIsTerminal();

// Whether that terminal obeys escape sequences (ECMA-48).
bool ErrorObeysEscapes();

// Whether standard output may appear on the screen that shows standard error: it is a terminal or
// goes to another program.
bool OutputMayReachScreen();

// Columns of the terminal that standard error is. 0 while nothing should be written to it: another
// program is in the foreground, or the terminal takes nothing, as after Ctrl-S. 80 where the
// terminal does not report its width.
std::size_t ErrorColumns();

// Writes at once to the terminal that standard error is. A failure is not reported.
void WriteToErrorTerminal(std::string_view text);

// The first character of a text in the code page of names.
struct CodePageCharacter {
  std::size_t bytes = 0;  // 0 in UTF-8, which needs no help of the system
  char32_t code = 0;      // as Unicode numbers it; the byte itself where a character is a byte
};

// `text` must not be empty.
CodePageCharacter FirstInCodePage(std::string_view text);

}  // namespace moldex

#endif  // MOLDEX_REPORT_CONSOLE_H_

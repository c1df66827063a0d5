// Standard input, output and error, and the console that they may be.
#ifndef MOLDEX_REPORT_CONSOLE_H_
#define MOLDEX_REPORT_CONSOLE_H_

#include <cstddef>
#include <string_view>

namespace moldex {

// Makes sure that no file that the program opens is taken for standard input, output or error. Any
// of these that was closed at the start is opened on a device: input at its end, and output that
// fails when something is written to it. To be called before anything else is opened.
void FillStandardDescriptors();

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

// Whether standard output is a terminal.
bool OutputIsTerminal();

// Whether terminals here also obey the control characters above 0x7F, which are letters in the code
// pages of other systems.
bool TerminalHasHighControls();

// Whether standard error is a terminal.
bool ErrorIsTerminal();

// Whether that terminal obeys escape sequences (ECMA-48).
bool ErrorObeysEscapes();

// Whether standard output may arrive on the screen that standard error is on: it is a terminal or
// goes to another program.
bool OutputMayReachScreen();

// Columns of the terminal that standard error is. 0 while nothing should be written to it: another
// program is in the foreground, or the terminal takes nothing, as after Ctrl-S. 80 where the
// terminal does not say.
std::size_t ErrorColumns();

// Writes to the terminal that standard error is, at once. Nobody learns of a failure.
void WriteToErrorTerminal(std::string_view text);

// The first character of a text in the code page of names.
struct CodePageCharacter {
  std::size_t bytes = 0;  // 0 in UTF-8, which needs no help of the system
  char32_t code = 0;      // as Unicode numbers it; the byte itself where a character is a byte
};

// The text is not empty.
CodePageCharacter FirstInCodePage(std::string_view text);

}  // namespace moldex

#endif  // MOLDEX_REPORT_CONSOLE_H_

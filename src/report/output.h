// The program's text. Everything the program says passes through here, so that lines of the log
// manager and of printable objects keep their order. It goes to standard output unless somebody
// says otherwise. What is no part of it goes to standard error: the status line, hints, and that
// the text itself could not be written.
#ifndef MOLDEX_REPORT_OUTPUT_H_
#define MOLDEX_REPORT_OUTPUT_H_

#include <string>
#include <string_view>

#include "report/system_error.h"

namespace moldex {

// From now on text goes to standard error.
void SendTextToError();

// From now on text goes nowhere: an archive has every place that it could go to.
void DropText();

// From now on text goes to a file of this name, made or emptied. Standard output becomes that file,
// too, unless it has to stay what it is. False when the file cannot be opened. The name is kept as
// the pointer that it is.
bool SendTextToFile(const char* name, bool keep_standard_output);

// Whether text may arrive on the screen that standard error is on.
bool TextMayReachScreen();

// Appends to the text. A failure is not reported here: see OutcomeOfText.
void WriteOutput(std::string_view text);

// A line of the program's as it is to be written: for a terminal with control characters as octal
// escapes (\033), so that no name moves the cursor or looks like lines of ours; else as it is.
std::string EscapedForTerminal(const std::string& line);

// Appends one line's part that way.
void WriteEscapedForTerminal(std::string_view text);

// Ends a line of a listing: handed to a terminal at once, to anything else when the buffer is full.
void EndLine();

// Hands what was written to the system. Waits for whoever reads it, until the run is asked to end:
// text that would have to wait then is given up, with all that follows.
void FlushOutput();

enum class TextPlace { kStandardOutput, kStandardError, kFile, kNowhere };

enum class TextState {
  kWritten,
  kFailed,  // the system refused some of it
  kGivenUp  // nobody took some of it when the run was to end
};

// What became of everything that was written and flushed so far.
struct TextOutcome {
  TextState state = TextState::kWritten;
  TextPlace place = TextPlace::kStandardOutput;
  const char* name = "standard output";
  SystemError error;  // of the first failure
};
const TextOutcome& OutcomeOfText();

// Writes a line on standard error that names what could not be written, and the system's error.
void PrintTextFailure();

}  // namespace moldex

#endif  // MOLDEX_REPORT_OUTPUT_H_

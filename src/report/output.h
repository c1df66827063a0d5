// The program's text. Everything that the program says passes through here, so that lines of the
// log manager and of printable objects keep their order. It goes to standard output unless a call
// below says otherwise. The status line, hints, and the message that the text itself could not be
// written are no part of it and go to standard error.
#ifndef MOLDEX_REPORT_OUTPUT_H_
#define MOLDEX_REPORT_OUTPUT_H_

#include <string>
#include <string_view>

#include "report/system_error.h"

namespace moldex {

// From now on text goes to standard error.
void SendTextToError();

// From now on text goes nowhere, because an archive takes every place that it could go to.
void DropText();

// From now on text goes to a file of this name, which is made or emptied. Standard output becomes
// that file, too, unless it has to stay as it is. False when the file cannot be opened. `name` is
// kept as a pointer.
bool SendTextToFile(const char* name, bool keep_standard_output);

// Whether text may arrive on the screen that standard error is on.
bool TextMayReachScreen();

// Appends to the text. A failure is not reported here: see OutcomeOfText.
void WriteOutput(std::string_view text);

// A line of the program as it is to be written. For a terminal its control characters become octal
// escapes (\033), so that no name moves the cursor or imitates lines of the program; for anything
// else it stays as it is.
std::string EscapedForTerminal(const std::string& line);

// Appends a part of a line in that form.
void WriteEscapedForTerminal(std::string_view text);

// Ends a line of a listing. A terminal gets it at once, anything else when the buffer is full.
void EndLine();

// Hands the buffered text to the system. Waits for the reader until the run is asked to end. After
// that, text that would have to wait is given up, and so is everything after it.
void FlushOutput();

enum class TextPlace { kStandardOutput, kStandardError, kFile, kNowhere };

enum class TextState {
  kWritten,
  kFailed,  // the system refused some of it
  kGivenUp  // nobody took some of it after the run was asked to end
};

// The fate of all text that was written and flushed so far.
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

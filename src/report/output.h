// The program's text. Everything the program says passes through here, so that lines of the log
// manager and of printable objects keep their order. It goes to standard output unless SendTextTo
// says otherwise.
#ifndef MOLDEX_REPORT_OUTPUT_H_
#define MOLDEX_REPORT_OUTPUT_H_

#include <cstdio>
#include <string>
#include <string_view>

namespace moldex {

// From now on text goes to this stream, which stays open. It is no terminal, or standard error.
void SendTextTo(std::FILE* stream);

// Whether text may arrive on the screen that standard error is on.
bool TextMayReachScreen();

// Appends to the text. A stream error is not reported here: there is nowhere left to.
void WriteOutput(std::string_view text);

// A line of the program's as it is to be written: for a terminal with control characters as octal
// escapes (\033), so that no name moves the cursor or looks like lines of ours; else as it is.
std::string Shown(const std::string& line);

// Appends one line's part that way.
void WriteShown(std::string_view text);

// Ends a line of a listing: handed to a terminal at once, to anything else when the buffer is full.
void EndLine();

// Hands what was written to the system.
void FlushOutput();

// Whether some of the output could not be written.
bool OutputFailed();

}  // namespace moldex

#endif  // MOLDEX_REPORT_OUTPUT_H_

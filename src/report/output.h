// The program's standard output. Everything the program says passes through here, so that lines
// of the log manager and of printable objects keep their order.
#ifndef MOLDEX_REPORT_OUTPUT_H_
#define MOLDEX_REPORT_OUTPUT_H_

#include <string>
#include <string_view>

namespace moldex {

// Appends to standard output. A stream error is not reported here: there is nowhere left to.
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

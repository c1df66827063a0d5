// Hints: advice besides the messages for somebody at a terminal, such as what to do next.
// Lines "hint: ..." on standard error, and only where that is a terminal; never part of the text.
#ifndef MOLDEX_REPORT_HINTS_H_
#define MOLDEX_REPORT_HINTS_H_

#include <string>

namespace moldex {

// Whether somebody may read hints: not where the messages go to the file of -e.
bool HintsAreWanted();

// Writes a hint now, after the message that it belongs to.
void ShowHint(const std::string& text);

// Keeps a hint for the end of the run: each text once, and ten at most.
void KeepHint(const std::string& text);

// Writes the kept hints, after all other output.
void ShowKeptHints();

}  // namespace moldex

#endif  // MOLDEX_REPORT_HINTS_H_

// Hints: advice for somebody at a terminal, such as what to do next. A hint is a line "hint: ..."
// on standard error, and is written only when that is a terminal. Hints are not part of the
// program's text.
#ifndef MOLDEX_REPORT_HINTS_H_
#define MOLDEX_REPORT_HINTS_H_

#include <string>

namespace moldex {

// Whether somebody may read hints. Not so when the text goes to the file of -e, or nowhere.
bool HintsAreWanted();

// Writes a hint now, after the message that it belongs to.
void ShowHint(const std::string& text);

// Keeps a hint for the end of the run: each text once, and ten at most.
void KeepHint(const std::string& text);

// Writes the kept hints, after all other output.
void ShowKeptHints();

}  // namespace moldex

#endif  // MOLDEX_REPORT_HINTS_H_

// Hints: what somebody at a terminal may want to know beside the messages, such as what to do next.
// Lines "hint: ..." on standard error, and only where that is a terminal; never part of the text.
#ifndef MOLDEX_REPORT_HINTS_H_
#define MOLDEX_REPORT_HINTS_H_

#include <string>

namespace moldex {

// Whether there is somebody to read hints: not where the messages go to a file of -e.
bool HintsAreWanted();

// Writes a hint now, after the message that it belongs to.
void ShowHint(const std::string& text);

// Keeps a hint for the end of the run, a text once and not more than ten.
void KeepHint(const std::string& text);

// Writes what was kept, after all other output.
void ShowKeptHints();

}  // namespace moldex

#endif  // MOLDEX_REPORT_HINTS_H_

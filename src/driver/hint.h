// Hints on what to do next after a failure.
#ifndef MOLDEX_DRIVER_HINT_H_
#define MOLDEX_DRIVER_HINT_H_

namespace moldex {

// Shows the hints (report/hints.h) that were kept during the run, and one for the failure that was
// printed last, if the table has one. `command_code` is the command that was begun, or none if the
// run failed before. Call it once, after all other output.
void PrintHints(int command_code);

}  // namespace moldex

#endif  // MOLDEX_DRIVER_HINT_H_

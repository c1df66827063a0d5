// What to do next, where a failure leaves something to do.
#ifndef MOLDEX_DRIVER_HINT_H_
#define MOLDEX_DRIVER_HINT_H_

namespace moldex {

// Shows the hints (report/hints.h) that were kept during the run, and one for the failure that was
// printed last, if there is anything to say of it. `command_code` is the command that was begun, if
// any was: what fails before is not of its doing. To be called once, after all other output.
void PrintHints(int command_code);

}  // namespace moldex

#endif  // MOLDEX_DRIVER_HINT_H_

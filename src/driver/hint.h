// What to do next, where a failure leaves something to do.
#ifndef MOLDEX_DRIVER_HINT_H_
#define MOLDEX_DRIVER_HINT_H_

namespace moldex {

// Writes a line "hint: ..." on standard error for the failure that was printed last, if there is
// anything to say of it and somebody at a terminal to say it to. `command_code` is the command that
// was begun, if any was: what fails before is not of its doing. To be called once, behind all other
// output.
void PrintHint(int command_code);

}  // namespace moldex

#endif  // MOLDEX_DRIVER_HINT_H_

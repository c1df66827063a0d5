// One run of the program, from the parsed command line to the last line of output: the place for
// its text, the list files, the rules on options, the command, and the report of -n. program.h
// calls it and prints the failures that leave it.
#ifndef MOLDEX_DRIVER_RUN_H_
#define MOLDEX_DRIVER_RUN_H_

#include "run/run_context.h"

namespace moldex {

// Runs the command that the options describe. Failures leave it as CExcept.
void Run(CRunContext& context);

}  // namespace moldex

#endif  // MOLDEX_DRIVER_RUN_H_

// The whole program, as `main` and the tests call it: one command line in, one exit status out.
#ifndef MOLDEX_DRIVER_PROGRAM_H_
#define MOLDEX_DRIVER_PROGRAM_H_

namespace moldex {

// Runs the program with the arguments of `main` and returns the exit status. Every failure is
// printed here. It changes the process: it sets the locale, catches signals, and opens the standard
// descriptors that are closed.
int Main(int argument_count, char** arguments);

}  // namespace moldex

#endif  // MOLDEX_DRIVER_PROGRAM_H_

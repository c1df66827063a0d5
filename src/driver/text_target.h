// Decides where the text of a run goes: to standard output; with -e to "moldex_output"; and to
// standard error if an archive of the run is the file that the text would go to, whatever that file
// is called. If standard error is that archive, too, the text goes nowhere.
#ifndef MOLDEX_DRIVER_TEXT_TARGET_H_
#define MOLDEX_DRIVER_TEXT_TARGET_H_

#include "run/options.h"

namespace moldex {

// Without -e: directs the text and prints what parsing left to say. Returns whether it is an
// archive that goes to standard output.
bool KeepTextOutOfArchives(CCmdLineOptions& options);

// The same, and then what -e asks for. Call it before anything else is printed or opened. A file
// "moldex_output" that cannot be opened is reported on standard error, and the text stays where it
// went without it.
void DirectText(CCmdLineOptions& options);

// From now on the text goes to standard error; nowhere if that is an archive of the run.
void SendTextPastArchives(const CCmdLineOptions& options);

}  // namespace moldex

#endif  // MOLDEX_DRIVER_TEXT_TARGET_H_

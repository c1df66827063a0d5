// The threads that a command may use beside the first one.
#ifndef MOLDEX_ARCHIVE_WORKERS_H_
#define MOLDEX_ARCHIVE_WORKERS_H_

#include "run/options.h"

namespace moldex {

// As many as the process has processors, but fewer where the system does not give the memory for
// them. With 1 all work is for the first thread.
unsigned WorkersFor(const CCmdLineOptions& options);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_WORKERS_H_

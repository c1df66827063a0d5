// The command line as it is read for archives of old formats.
#ifndef MOLDEX_OLDFORMAT_OLD_OPTIONS_H_
#define MOLDEX_OLDFORMAT_OLD_OPTIONS_H_

#include "run/options.h"

namespace moldex {

// The commands x, t and d, v, -R, -flat, -lower and the names; nothing else counts, so that names
// are never allowed to leave the target directory. Values of other options are passed over. (-h
// holds where directories are made, whatever the archive.)
CCmdLineOptions ParseOldOptions(int argument_count, char** arguments);

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_OLD_OPTIONS_H_

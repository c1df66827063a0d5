// The number of bytes that a creation is going to read, for its progress.
#ifndef MOLDEX_ARCHIVE_BYTE_COUNT_H_
#define MOLDEX_ARCHIVE_BYTE_COUNT_H_

#include <cstdint>

#include "platform/file_status.h"
#include "report/progress.h"
#include "run/options.h"

namespace moldex {

// The sizes of all files that the options name, in one more walk over their names that opens none
// of them. A name that cannot be looked up counts as 0 and is not reported. A shortcut counts as
// itself, and `archive`, the archive's own file, not at all. 0 when a directory cannot be read to
// its end, or there is no memory for the walk. Reports to `progress` how far it is. Throws
// CInterruptExcept.
std::uint64_t CountBytes(const CCmdLineOptions& options, const FileIdentity& archive,
                         CProgress& progress);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_BYTE_COUNT_H_

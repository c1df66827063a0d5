// Shared by the POSIX sources of this module only: the archiver's view of the system's records.
#ifndef MOLDEX_PLATFORM_STATUS_POSIX_H_
#define MOLDEX_PLATFORM_STATUS_POSIX_H_

#include <sys/types.h>

#include "platform/file_status.h"

struct stat;

namespace moldex {

FileStatus ToFileStatus(const struct stat& record);

// The permissions that stand for Windows attributes. Nobody may write to a read-only file; apart
// from that everybody may do what the umask allows.
mode_t PermissionsOf(std::uint32_t attributes, bool executable);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_STATUS_POSIX_H_

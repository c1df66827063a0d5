// Shared by the POSIX sources of this module only: what the system's records mean to the archiver.
#ifndef MOLDEX_PLATFORM_STATUS_POSIX_H_
#define MOLDEX_PLATFORM_STATUS_POSIX_H_

#include <sys/types.h>

#include "platform/file_status.h"

struct stat;

namespace moldex {

FileStatus ToFileStatus(const struct stat& record);

// What Windows attributes come to here: a read-only file is writable by nobody, and everybody may
// do what the umask leaves them.
mode_t PermissionsOf(std::uint32_t attributes, bool executable);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_STATUS_POSIX_H_

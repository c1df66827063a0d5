// Shared by the POSIX sources of this room only: the runtime's stat record as a FileStatus.
#ifndef MOLDEX_PLATFORM_STATUS_POSIX_H_
#define MOLDEX_PLATFORM_STATUS_POSIX_H_

#include "platform/file_status.h"

struct stat;

namespace moldex {

FileStatus ToFileStatus(const struct stat& record);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_STATUS_POSIX_H_

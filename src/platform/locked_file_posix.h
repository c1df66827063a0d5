// Shared by the POSIX sources of this module only: files that one run at a time writes into.
#ifndef MOLDEX_PLATFORM_LOCKED_FILE_POSIX_H_
#define MOLDEX_PLATFORM_LOCKED_FILE_POSIX_H_

namespace moldex {

// Opens as CFileHandle::Open does with kOpenReadWrite, and with kOpenCreate when `create` is set.
// Returns the descriptor, or -1 with the system's error remembered. Throws CInterruptExcept.
int OpenLocked(const char* path, bool create);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_LOCKED_FILE_POSIX_H_

// Shared by the POSIX sources of this module only: opens files as CFileHandle::Open promises.
#ifndef MOLDEX_PLATFORM_OPEN_FILE_POSIX_H_
#define MOLDEX_PLATFORM_OPEN_FILE_POSIX_H_

#include "platform/result.h"

namespace moldex {

struct OpenedFile {
  int descriptor = -1;    // the caller's, to close
  bool may_wait = false;  // transfers may have to wait for somebody else, as with a pipe
};

// `flags` are OpenFlags; kOpenAtEnd is left to the caller. A failure leaves nothing open. Throws
// CInterruptExcept.
Result<OpenedFile> OpenFile(const char* path, unsigned flags);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_OPEN_FILE_POSIX_H_

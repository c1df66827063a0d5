// Shared by the Win32 sources of this module only: opens files as CFileHandle::Open promises.
#ifndef MOLDEX_PLATFORM_OPEN_FILE_WIN32_H_
#define MOLDEX_PLATFORM_OPEN_FILE_WIN32_H_

#include <string>

#include "platform/owned_win32.h"
#include "platform/result.h"

namespace moldex {

// `flags` are OpenFlags; kOpenAtEnd is left to the caller. A failure leaves nothing open.
Result<OwnedHandle> OpenFileHandle(const std::string& path, unsigned flags);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_OPEN_FILE_WIN32_H_

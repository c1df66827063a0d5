// Shared by the Win32 sources of this module only: failures of the system, and the archiver's view
// of its records.
#ifndef MOLDEX_PLATFORM_SYSTEM_WIN32_H_
#define MOLDEX_PLATFORM_SYSTEM_WIN32_H_

#include <windows.h>

#include <cstdint>
#include <string>

#include "platform/file_status.h"
#include "platform/result.h"

namespace moldex {

// The result of a call that was made just before and returned TRUE or FALSE.
Result<void> ResultOf(BOOL returned);
// The same for a call of the runtime library: 0 means success, and errno has the error.
Result<void> RuntimeResultOf(int returned);

// The status of an object with these attributes and this last-write time. Its mode is what the
// runtime library makes of `name`.
FileStatus StatusOf(std::uint32_t attributes, std::uint64_t size_bytes, std::uint64_t file_time,
                    const std::string& name);

// Not equal to any other identity.
FileIdentity UnknownIdentity();
// A file system that does not number its files gives them all the number 0, or one of all ones,
// which identifies nothing.
FileIdentity IdentityOf(const BY_HANDLE_FILE_INFORMATION& record);

// The system's handle (HANDLE) as an open file keeps it.
inline void* SystemHandle(std::intptr_t handle) {
  return reinterpret_cast<void*>(handle);  // NOLINT(performance-no-int-to-ptr): it leads nowhere
}

constexpr FILETIME ToFileTime(std::uint64_t value) {
  return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

constexpr std::uint64_t Joined(std::uint32_t high, std::uint32_t low) {
  return static_cast<std::uint64_t>(high) << 32 | low;
}

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SYSTEM_WIN32_H_

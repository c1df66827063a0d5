// Shared by the Win32 sources of this module only: failures of the system, and what its records
// mean to the archiver.
#ifndef MOLDEX_PLATFORM_SYSTEM_WIN32_H_
#define MOLDEX_PLATFORM_SYSTEM_WIN32_H_

#include <windows.h>

#include <cstdint>
#include <string>

#include "platform/file_status.h"

namespace moldex {

// Remembers the error of a call that returned false.
bool Succeeded(bool result);
// The same of a call of the runtime library, which returned other than 0 and keeps its error in
// errno.
bool RuntimeSucceeded(int result);

// The status of what has these attributes and this last-write time; mode as the runtime library
// makes it of `name`.
FileStatus StatusOf(std::uint32_t attributes, std::uint64_t size_bytes, std::uint64_t file_time,
                    const std::string& name);

// Not equal to any other identity.
FileIdentity UnknownIdentity();
// File systems that number no files give the number 0 or one of ones only, which identifies
// nothing.
FileIdentity IdentityOf(const BY_HANDLE_FILE_INFORMATION& record);

// The system's handle (HANDLE) as an open file keeps it.
inline void* SystemHandle(std::intptr_t handle) {
  return reinterpret_cast<void*>(handle);  // NOLINT(performance-no-int-to-ptr): it leads nowhere
}

constexpr std::uint64_t Joined(std::uint32_t high, std::uint32_t low) {
  return static_cast<std::uint64_t>(high) << 32 | low;
}

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SYSTEM_WIN32_H_

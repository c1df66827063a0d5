// Shared by the Win32 sources of this room only: paths as the system gets them, and what its
// records mean to the archiver.
#ifndef MOLDEX_PLATFORM_SYSTEM_WIN32_H_
#define MOLDEX_PLATFORM_SYSTEM_WIN32_H_

#include <cstdint>
#include <string>

#include "platform/file_status.h"

namespace moldex {

// The path to give to the system: in long-name mode its long-name form. Throws CGetCwdExcept when
// that needs the current directory and there is none.
std::string SystemPath(const std::string& path);

// Remembers the error of a call that returned false.
bool Succeeded(bool result);
// The same of a call of the runtime library, which returned other than 0 and keeps its error in
// errno.
bool RuntimeSucceeded(int result);

// The status of what has these attributes and this last-write time; mode as the runtime library
// makes it of `name`.
FileStatus StatusOf(std::uint32_t attributes, std::uint64_t size_bytes, std::uint64_t file_time,
                    const std::string& name);

// The system's handle (HANDLE) as an open file keeps it.
inline void* SystemHandle(std::intptr_t handle) {
  return reinterpret_cast<void*>(handle);  // NOLINT(performance-no-int-to-ptr): it leads nowhere
}

constexpr std::uint64_t Joined(std::uint32_t high, std::uint32_t low) {
  return static_cast<std::uint64_t>(high) << 32 | low;
}

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SYSTEM_WIN32_H_

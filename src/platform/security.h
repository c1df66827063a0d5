// Privileges of the process and security descriptors of files, which Windows has. On a system
// without them there is nothing to acquire and nothing to restore, and both calls succeed.
#ifndef MOLDEX_PLATFORM_SECURITY_H_
#define MOLDEX_PLATFORM_SECURITY_H_

#include <cstdint>
#include <span>
#include <string>

#include "platform/result.h"

namespace moldex {

struct SecurityFailure {
  std::string what;   // see the calls
  SystemError error;  // none when the memory did not suffice
};

// Enables the privileges that reading and writing security information needs. Asks once in a
// process: every later call succeeds. The failure names the last privilege that was refused.
Result<void, SecurityFailure> AcquirePrivileges();

// Gives a file the self-relative security descriptor that its entry carries. The failure's text is
// the message to print, but for the system's sentence at its end.
Result<void, SecurityFailure> RestoreSecurity(const std::string& path,
                                              std::span<const std::uint8_t> descriptor);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SECURITY_H_

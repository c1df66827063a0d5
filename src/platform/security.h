// Privileges of the process and security descriptors of files: what Windows knows of them. On a
// system without them there is nothing to acquire and nothing to restore, and both succeed.
#ifndef MOLDEX_PLATFORM_SECURITY_H_
#define MOLDEX_PLATFORM_SECURITY_H_

#include <cstdint>
#include <span>
#include <string>

namespace moldex {

// A privilege that the process did not get, and the system's sentence for it.
struct PrivilegeFailure {
  std::string privilege;
  std::string why;
};

// Enables the privileges that reading and writing security information needs. Asks once in a
// process: every later call succeeds. `failure` is set when it fails, to the last one refused.
bool AcquirePrivileges(PrivilegeFailure* failure);

// Gives a file the self-relative security descriptor that its entry carries. `why` is set when it
// fails.
bool RestoreSecurity(const std::string& path, std::span<const std::uint8_t> descriptor,
                     std::string* why);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SECURITY_H_

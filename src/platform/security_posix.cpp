#include "platform/security.h"

namespace moldex {

bool AcquirePrivileges(PrivilegeFailure* /*failure*/) { return true; }

bool RestoreSecurity(const std::string& /*path*/, std::span<const std::uint8_t> /*descriptor*/,
                     std::string* /*why*/) {
  return true;
}

}  // namespace moldex

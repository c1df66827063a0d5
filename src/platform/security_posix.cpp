#include "platform/security.h"

namespace moldex {

Result<void, SecurityFailure> AcquirePrivileges() { return {}; }

Result<void, SecurityFailure> RestoreSecurity(const std::string& /*path*/,
                                              std::span<const std::uint8_t> /*descriptor*/) {
  return {};
}

}  // namespace moldex

#include "platform/security.h"

#include <windows.h>

#include <aclapi.h>

#include <array>
#include <vector>

#include "platform/owned_win32.h"
#include "platform/path_calls_win32.h"
#include "platform/security_descriptor.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr const char* kPrivileges[] = {"SeSecurityPrivilege", "SeBackupPrivilege",
                                       "SeRestorePrivilege"};

using SecurityResult = Result<void, SecurityFailure>;

constexpr char kConversionFailed[] =
    "MOLDEX: Error converting relative to absolute security descriptor:\n\t";
constexpr char kSettingFailed[] = "MOLDEX: Error while setting security info:\n\t";

// The failure of the call that was made just before.
SecurityFailure FailureNow(const char* what) { return {what, RememberSystemError()}; }

bool EnablePrivilege(HANDLE token, const char* name) {
  TOKEN_PRIVILEGES wanted{};
  wanted.PrivilegeCount = 1;
  wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  if (LookupPrivilegeValueA(nullptr, name, &wanted.Privileges[0].Luid) == FALSE) return false;
  // The call also succeeds when it leaves out privileges that the process does not hold.
  return AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr) != FALSE &&
         GetLastError() != ERROR_NOT_ALL_ASSIGNED;
}

// The parts of an absolute security descriptor, each in a block of its own.
class CAbsoluteDescriptor {
 public:
  SecurityResult Parse(std::span<const std::uint8_t> descriptor) {
    if (!IsSecurityDescriptor(descriptor)) {
      SetLastError(ERROR_INVALID_SECURITY_DESCR);
      return FailureNow(kConversionFailed);
    }
    // The system wants the bytes writable, and aligned for a structure.
    std::vector<std::uint8_t> relative(descriptor.begin(), descriptor.end());
    (void)Convert(relative.data());  // fails for lack of space, and tells how much each part needs
    for (Part* part : {&dacl_, &sacl_, &owner_, &group_}) {
      part->block.reset(GlobalAlloc(GPTR, part->size));
      if (!part->block) return SecurityFailure{"MOLDEX: no more memory...", {}};
    }
    if (!Convert(relative.data())) return FailureNow(kConversionFailed);
    return {};
  }

  SecurityResult ApplyTo(const std::string& path) {
    auto wide = SystemPath(path);  // the system wants it writable
    if (!wide) return FailureNow(kSettingFailed);
    const DWORD result =
        SetNamedSecurityInfoW(wide->data(), SE_FILE_OBJECT,
                              OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                                  DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION,
                              owner_.Used(), group_.Used(), static_cast<PACL>(dacl_.Used()),
                              static_cast<PACL>(sacl_.Used()));
    if (result == ERROR_SUCCESS) return {};
    SetLastError(result);
    return FailureNow(kSettingFailed);
  }

 private:
  struct Part {
    DWORD size = 0;
    OwnedGlobal block;

    void* Used() const { return size != 0 ? block.get() : nullptr; }
  };

  bool Convert(PSECURITY_DESCRIPTOR relative) {
    DWORD size = static_cast<DWORD>(sizeof(head_));
    return MakeAbsoluteSD(relative, &head_, &size, static_cast<PACL>(dacl_.block.get()),
                          &dacl_.size, static_cast<PACL>(sacl_.block.get()), &sacl_.size,
                          owner_.block.get(), &owner_.size, group_.block.get(),
                          &group_.size) != FALSE;
  }

  SECURITY_DESCRIPTOR head_{};
  Part dacl_;
  Part sacl_;
  Part owner_;
  Part group_;
};

}  // namespace

SecurityResult AcquirePrivileges() {
  static bool requested = false;
  if (requested) return {};
  requested = true;
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &opened) == FALSE) {
    return FailureNow(kPrivileges[0]);
  }
  const OwnedHandle token(opened);
  SecurityResult result;
  for (const char* name : kPrivileges) {
    if (!EnablePrivilege(token.get(), name)) result = FailureNow(name);
  }
  return result;
}

SecurityResult RestoreSecurity(const std::string& path, std::span<const std::uint8_t> descriptor) {
  const auto privileged = AcquirePrivileges();
  if (!privileged) return SecurityFailure{"", privileged.error().error};
  CAbsoluteDescriptor absolute;
  const auto parsed = absolute.Parse(descriptor);
  return parsed ? absolute.ApplyTo(path) : parsed;
}

}  // namespace moldex

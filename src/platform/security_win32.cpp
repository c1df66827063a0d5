#include "platform/security.h"

#include <windows.h>

#include <aclapi.h>

#include <array>
#include <memory>
#include <vector>

#include "platform/path_calls_win32.h"
#include "platform/security_descriptor.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr const char* kPrivileges[] = {"SeSecurityPrivilege", "SeBackupPrivilege",
                                       "SeRestorePrivilege"};

struct CloseToken {
  using pointer = HANDLE;
  void operator()(HANDLE token) const { CloseHandle(token); }
};

struct FreeGlobal {
  void operator()(void* block) const { GlobalFree(block); }
};

// The sentence for the error of the call that failed just before.
std::string ErrorTextNow() {
  RememberSystemError();
  return LastSystemErrorText();
}

bool EnablePrivilege(HANDLE token, const char* name) {
  TOKEN_PRIVILEGES wanted{};
  wanted.PrivilegeCount = 1;
  wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  if (LookupPrivilegeValueA(nullptr, name, &wanted.Privileges[0].Luid) == FALSE) return false;
  // The call succeeds also when it leaves out what the process does not hold.
  return AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr) != FALSE &&
         GetLastError() != ERROR_NOT_ALL_ASSIGNED;
}

// The parts of an absolute security descriptor, each in a block of its own.
class CAbsoluteDescriptor {
 public:
  // Both return the text that says what failed; none when nothing did.
  std::string Take(std::span<const std::uint8_t> descriptor) {
    constexpr char kFailure[] = "Error converting relative to absolute security descriptor:\n\t";
    if (!IsSecurityDescriptor(descriptor)) {
      SetLastError(ERROR_INVALID_SECURITY_DESCR);
      return kFailure + ErrorTextNow();
    }
    // The system wants to be able to write, and the bytes where a structure may stand.
    std::vector<std::uint8_t> relative(descriptor.begin(), descriptor.end());
    (void)Convert(relative.data());  // fails for want of room, and says how much each part needs
    for (Part* part : {&dacl_, &sacl_, &owner_, &group_}) {
      part->block.reset(GlobalAlloc(GPTR, part->size));
      if (!part->block) return "no more memory...";
    }
    return Convert(relative.data()) ? std::string() : kFailure + ErrorTextNow();
  }

  std::string ApplyTo(const std::string& path) {
    auto wide = SystemPath(path);  // the system wants to be able to write into it
    if (!wide) return "Error while setting security info:\n\t" + ErrorTextNow();
    const DWORD result =
        SetNamedSecurityInfoW(wide->data(), SE_FILE_OBJECT,
                              OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                                  DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION,
                              owner_.Used(), group_.Used(), static_cast<PACL>(dacl_.Used()),
                              static_cast<PACL>(sacl_.Used()));
    if (result == ERROR_SUCCESS) return {};
    SetLastError(result);
    return "Error while setting security info:\n\t" + ErrorTextNow();
  }

 private:
  struct Part {
    DWORD size = 0;
    std::unique_ptr<void, FreeGlobal> block;

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

bool AcquirePrivileges(PrivilegeFailure* failure) {
  static bool requested = false;
  if (requested) return true;
  requested = true;
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &opened) == FALSE) {
    *failure = {kPrivileges[0], ErrorTextNow()};
    return false;
  }
  const std::unique_ptr<HANDLE, CloseToken> token(opened);
  bool all = true;
  for (const char* name : kPrivileges) {
    if (EnablePrivilege(token.get(), name)) continue;
    *failure = {name, ErrorTextNow()};
    all = false;
  }
  return all;
}

bool RestoreSecurity(const std::string& path, std::span<const std::uint8_t> descriptor,
                     std::string* why) {
  PrivilegeFailure unprivileged;
  if (!AcquirePrivileges(&unprivileged)) {
    *why = unprivileged.why;
    return false;
  }
  CAbsoluteDescriptor absolute;
  std::string failure = absolute.Take(descriptor);
  if (failure.empty()) failure = absolute.ApplyTo(path);
  if (!failure.empty()) *why = "MOLDEX: " + failure;
  return failure.empty();
}

}  // namespace moldex

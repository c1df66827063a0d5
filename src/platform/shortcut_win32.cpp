#include "platform/shortcut.h"

#include <windows.h>

#include <objbase.h>
#include <shlguid.h>
#include <shobjidl.h>

#include <array>
#include <memory>

#include "platform/file_services.h"

namespace moldex {
namespace {

constexpr int kLongestPath = 261;

// Without windows, without searching, without asking other machines.
constexpr DWORD kResolveQuietly = 113;

// COM, for as long as this lives.
class CComSession {
 public:
  CComSession() : started_(SUCCEEDED(CoInitialize(nullptr))) {}
  ~CComSession() {
    if (started_) CoUninitialize();
  }
  CComSession(const CComSession&) = delete;
  CComSession& operator=(const CComSession&) = delete;

 private:
  bool started_;
};

struct ReleaseInterface {
  void operator()(IUnknown* object) const { object->Release(); }
};

template <typename Interface>
using ComPtr = std::unique_ptr<Interface, ReleaseInterface>;

ComPtr<IShellLinkA> MakeShellLink() {
  void* made = nullptr;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA,
                              &made))) {
    return nullptr;
  }
  return ComPtr<IShellLinkA>(static_cast<IShellLinkA*>(made));
}

bool Load(IShellLinkA& link, const std::string& path) {
  void* asked = nullptr;
  if (FAILED(link.QueryInterface(IID_IPersistFile, &asked))) return false;
  const ComPtr<IPersistFile> file(static_cast<IPersistFile*>(asked));
  std::array<wchar_t, kLongestPath> wide{};
  const int length = MultiByteToWideChar(CP_ACP, 0, path.c_str(), -1, wide.data(), kLongestPath);
  return length > 0 && SUCCEEDED(file->Load(wide.data(), STGM_READ));
}

std::string TargetOf(const std::string& path) {
  const CComSession session;
  const auto link = MakeShellLink();
  std::array<char, kLongestPath> target{};
  if (!link || !Load(*link, path) || FAILED(link->Resolve(nullptr, kResolveQuietly)) ||
      FAILED(link->GetPath(target.data(), kLongestPath, nullptr, 0))) {
    return {};
  }
  return WithSlashes(PathRules::kWindows, target.data());
}

}  // namespace

// The shell resolves a path that starts at the root of a drive; to it "a.lnk" is no file.
Shortcut ResolveShortcut(const std::string& path) {
  std::array<char, MAX_PATH> full{};
  const DWORD length = GetFullPathNameA(path.c_str(), MAX_PATH, full.data(), nullptr);
  if (length == 0 || length >= MAX_PATH) return {ShortcutKind::kNoTarget, {}};
  const std::string target = TargetOf(full.data());
  if (target.empty() || TestExistence(target) != Existence::kExists) {
    return {ShortcutKind::kNoTarget, {}};
  }
  return {ShortcutKind::kTarget, target};
}

}  // namespace moldex

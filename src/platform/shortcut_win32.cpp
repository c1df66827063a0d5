#include "platform/shortcut.h"

#include <windows.h>

#include <objbase.h>
#include <shlguid.h>
#include <shobjidl.h>

#include <array>
#include <memory>

#include "platform/file_services.h"
#include "platform/local_text_win32.h"

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

ComPtr<IShellLinkW> MakeShellLink() {
  void* made = nullptr;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              &made))) {
    return nullptr;
  }
  return ComPtr<IShellLinkW>(static_cast<IShellLinkW*>(made));
}

bool Load(IShellLinkW& link, const wchar_t* path) {
  void* asked = nullptr;
  if (FAILED(link.QueryInterface(IID_IPersistFile, &asked))) return false;
  const ComPtr<IPersistFile> file(static_cast<IPersistFile*>(asked));
  return SUCCEEDED(file->Load(path, STGM_READ));
}

// Empty when there is none.
std::wstring TargetOf(const wchar_t* path) {
  const CComSession session;
  const auto link = MakeShellLink();
  std::array<wchar_t, kLongestPath> target{};
  if (!link || !Load(*link, path) || FAILED(link->Resolve(nullptr, kResolveQuietly)) ||
      FAILED(link->GetPath(target.data(), kLongestPath, nullptr, 0))) {
    return {};
  }
  return target.data();
}

}  // namespace

// The shell resolves only a path that starts at the root of a drive; it does not find "a.lnk"
// alone.
Shortcut ResolveShortcut(const std::string& path) {
  Shortcut none{ShortcutKind::kNoTarget, {}};
  const auto wide = ToWide(path);
  std::array<wchar_t, MAX_PATH> full{};
  const DWORD length =
      wide ? GetFullPathNameW(wide->c_str(), MAX_PATH, full.data(), nullptr) : DWORD{0};
  if (length == 0 || length >= MAX_PATH) return none;
  const std::wstring target = TargetOf(full.data());
  if (target.empty() || GetFileAttributesW(target.c_str()) == INVALID_FILE_ATTRIBUTES) return none;
  return {ShortcutKind::kTarget, WithSlashes(SystemPathRules(), ToReadable(target))};
}

}  // namespace moldex

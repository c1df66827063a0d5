// make_shortcut TARGET SHORTCUT: makes a shortcut as the shell does.
#include <windows.h>

#include <objbase.h>
#include <shlguid.h>
#include <shobjidl.h>

#include <cstdio>
#include <string>

namespace {

std::wstring Wide(const char* text) {
  std::wstring wide(MAX_PATH, L'\0');
  const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), MAX_PATH);
  wide.resize(length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
  return wide;
}

bool MakeShortcut(const char* target, const char* shortcut) {
  void* link = nullptr;
  void* file = nullptr;
  return SUCCEEDED(CoInitialize(nullptr)) &&
         SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                    &link)) &&
         SUCCEEDED(static_cast<IShellLinkW*>(link)->SetPath(Wide(target).c_str())) &&
         SUCCEEDED(static_cast<IShellLinkW*>(link)->QueryInterface(IID_IPersistFile, &file)) &&
         SUCCEEDED(static_cast<IPersistFile*>(file)->Save(Wide(shortcut).c_str(), TRUE));
}

}  // namespace

// The process ends here, and with it what it holds of the shell.
int main(int count, char** arguments) {
  if (count == 3 && MakeShortcut(arguments[1], arguments[2])) return 0;
  std::fputs("no shortcut made\n", stderr);
  return 1;
}

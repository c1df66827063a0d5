// Runs a program as Wine does not by itself, and says on standard error what came of it:
//   run_in console PAGE PROGRAM ARGS...      from a console whose output has code page PAGE: the
//                                            code pages before, while the program runs, and after
//   run_in interrupt FILE PROGRAM ARGS...    with Ctrl-C pressed once FILE is there
//   run_in no-privileges PROGRAM ARGS...     without the privileges of long-name mode
//   run_in shortcut TARGET FILE              makes a shortcut as the shell does, and runs nothing
// Ends as the program does; with 99 when it could not be run so.
#include <windows.h>

#include <objbase.h>
#include <shlguid.h>
#include <shobjidl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

namespace {

constexpr int kNotRun = 99;

std::string CommandLine(int count, char** words) {
  std::string line;
  for (int i = 0; i < count; ++i)
    line.append(i == 0 ? "\"" : " \"").append(words[i]).append("\"");
  return line;
}

// `watch` is called over and over while the program runs.
template <typename Watch>
int Run(std::string line, Watch watch) {
  STARTUPINFOA start{};
  start.cb = sizeof(start);
  PROCESS_INFORMATION made{};
  if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                     &made) == FALSE) {
    return kNotRun;
  }
  while (WaitForSingleObject(made.hProcess, 0) == WAIT_TIMEOUT)
    watch();
  DWORD status = kNotRun;
  GetExitCodeProcess(made.hProcess, &status);
  return static_cast<int>(status);
}

int RunInConsole(UINT page, const std::string& line) {
  if (SetConsoleOutputCP(page) == FALSE) return kNotRun;
  std::set<UINT> during;
  const int status = Run(line, [&] { during.insert(GetConsoleOutputCP()); });
  during.erase(page);  // before the program has begun, and when it is done
  std::fprintf(stderr, "code pages:");
  for (const UINT other : during)
    std::fprintf(stderr, " %u", other);
  std::fprintf(stderr, ", then %u\n", GetConsoleOutputCP());
  return status;
}

int RunAndInterrupt(const char* file, const std::string& line) {
  bool pressed = false;
  return Run(line, [&] {
    Sleep(50);
    if (pressed || GetFileAttributesA(file) == INVALID_FILE_ATTRIBUTES) return;
    SetConsoleCtrlHandler(nullptr, TRUE);  // it is meant for the program alone
    pressed = GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != FALSE;
  });
}

// Processes that this one starts lack the privilege, too.
bool GiveAway(const char* privilege) {
  HANDLE token = nullptr;
  TOKEN_PRIVILEGES removed{};
  removed.PrivilegeCount = 1;
  removed.Privileges[0].Attributes = SE_PRIVILEGE_REMOVED;
  return OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token) != FALSE &&
         LookupPrivilegeValueA(nullptr, privilege, &removed.Privileges[0].Luid) != FALSE &&
         AdjustTokenPrivileges(token, FALSE, &removed, 0, nullptr, nullptr) != FALSE &&
         GetLastError() == ERROR_SUCCESS;
}

std::wstring Wide(const char* text) {
  std::wstring wide(MAX_PATH, L'\0');
  const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), MAX_PATH);
  wide.resize(length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
  return wide;
}

// The process ends soon, and with it what it holds of the shell.
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

int main(int count, char** words) {
  if (count > 3 && std::strcmp(words[1], "console") == 0) {
    return RunInConsole(static_cast<UINT>(std::atoi(words[2])), CommandLine(count - 3, words + 3));
  }
  if (count > 3 && std::strcmp(words[1], "interrupt") == 0) {
    return RunAndInterrupt(words[2], CommandLine(count - 3, words + 3));
  }
  if (count == 4 && std::strcmp(words[1], "shortcut") == 0)
    return MakeShortcut(words[2], words[3]) ? 0 : kNotRun;
  if (count > 2 && std::strcmp(words[1], "no-privileges") == 0) {
    for (const char* name : {"SeSecurityPrivilege", "SeBackupPrivilege", "SeRestorePrivilege"}) {
      if (!GiveAway(name)) return kNotRun;
    }
    return Run(CommandLine(count - 2, words + 2), [] { Sleep(1); });
  }
  return kNotRun;
}

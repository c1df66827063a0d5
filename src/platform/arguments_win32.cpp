#include "platform/arguments.h"

#include <windows.h>

#include <new>
#include <string>
#include <vector>

#include "platform/local_text_win32.h"
#include "report/except.h"

// How the runtime library takes a command line apart; documented, but in no header of mingw-w64.
// NOLINTBEGIN: the names are the library's.
extern "C" {
struct _startupinfo {
  int newmode;
};
__declspec(dllimport) int __cdecl __wgetmainargs(int* count, wchar_t*** words,
                                                 wchar_t*** environment, int expand_patterns,
                                                 _startupinfo* start);
}
// NOLINTEND

namespace moldex {
namespace {

std::vector<std::wstring> WideWords() {
  int count = 0;
  wchar_t** words = nullptr;
  wchar_t** environment = nullptr;
  _startupinfo start{};
  if (__wgetmainargs(&count, &words, &environment, 0, &start) < 0) throw std::bad_alloc();
  return {words, words + count};
}

}  // namespace

// The words that `main` gets were converted: a character without a form in the code page was
// replaced by a similar one. Such a word may be the name of another file.
Arguments LocalArguments(int /*count*/, char** /*words*/) {
  static std::vector<std::string> local;
  static std::vector<char*> pointers;
  local.clear();
  for (const std::wstring& word : WideWords()) {
    const auto text = ToLocal(word);
    if (!text) {
      throw CExcept(
          "MOLDEX: a word of the command line has no form in the code page of this system: " +
              ToReadable(word),
          kErrorConversion, false);
    }
    local.push_back(*text);
  }
  pointers.clear();
  for (std::string& word : local)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return {static_cast<int>(local.size()), pointers.data()};
}

}  // namespace moldex

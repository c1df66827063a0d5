#include <windows.h>

#include <cstring>

#include "platform/directory.h"
#include "platform/path_calls_win32.h"
#include "platform/path_rules.h"
#include "platform/system_win32.h"
#include "report/system_error.h"

namespace moldex {
namespace {

class CSearch {
 public:
  CSearch(const std::string& pattern, WIN32_FIND_DATAA* data)
      : handle_(CallFindFirstFile(pattern, data)) {}
  ~CSearch() {
    if (IsValid()) FindClose(handle_);
  }
  CSearch(const CSearch&) = delete;
  CSearch& operator=(const CSearch&) = delete;

  bool IsValid() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool Next(WIN32_FIND_DATAA* data) { return FindNextFileA(handle_, data) != FALSE; }

 private:
  HANDLE handle_;
};

bool IsSelfOrParent(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// "C:" is the current directory of its drive, not the drive's root.
std::string PatternFor(const std::string& path) {
  if (path.empty()) return SystemPath(".") + "\\*";
  const bool joined = IsSeparator(PathRules::kWindows, path.back()) || path.back() == ':';
  const std::string directory = SystemPath(path);
  const bool closed = IsSeparator(PathRules::kWindows, directory.back());
  return directory + (closed || (joined && directory == path) ? "*" : "\\*");
}

}  // namespace

DirectoryResult VisitDirectory(const std::string& path,
                               const std::function<void(const char*)>& visit) {
  WIN32_FIND_DATAA data{};
  CSearch search(PatternFor(path), &data);
  if (!search.IsValid()) {
    // The root of a drive has no "." to be found when it is empty.
    if (GetLastError() == ERROR_FILE_NOT_FOUND) return DirectoryResult::kComplete;
    RememberSystemError();
    return DirectoryResult::kCannotOpen;
  }
  do {
    if (!IsSelfOrParent(data.cFileName)) visit(data.cFileName);
  } while (search.Next(&data));
  if (GetLastError() == ERROR_NO_MORE_FILES) return DirectoryResult::kComplete;
  RememberSystemError();
  return DirectoryResult::kReadFailed;
}

}  // namespace moldex

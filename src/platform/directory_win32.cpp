#include <windows.h>

#include <cerrno>
#include <cwchar>

#include "platform/directory.h"
#include "platform/file_services.h"
#include "platform/local_text_win32.h"
#include "platform/path_calls_win32.h"
#include "report/system_error.h"

namespace moldex {
namespace {

class CSearch {
 public:
  CSearch(const std::string& directory, WIN32_FIND_DATAW* data)
      : handle_(CallFindFirstFileIn(directory, data)) {}
  ~CSearch() {
    if (IsValid()) FindClose(handle_);
  }
  CSearch(const CSearch&) = delete;
  CSearch& operator=(const CSearch&) = delete;

  bool IsValid() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool Next(WIN32_FIND_DATAW* data) { return FindNextFileW(handle_, data) != FALSE; }

 private:
  HANDLE handle_;
};

bool IsSelfOrParent(const wchar_t* name) {
  return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0;
}

}  // namespace

DirectoryResult VisitDirectory(const std::string& path,
                               const std::function<void(const char*)>& visit,
                               const std::optional<FileIdentity>& identity) {
  const auto status = identity ? QueryStatus(path) : std::nullopt;
  if (status && status->identity.Excludes(*identity)) {
    RememberErrno(ENOENT);
    return DirectoryResult::kCannotOpen;
  }
  WIN32_FIND_DATAW data{};
  CSearch search(path, &data);
  if (!search.IsValid()) {
    // The root of a drive has no "." to be found when it is empty.
    if (GetLastError() == ERROR_FILE_NOT_FOUND) return DirectoryResult::kComplete;
    RememberSystemError();
    return DirectoryResult::kCannotOpen;
  }
  do {
    if (!IsSelfOrParent(data.cFileName)) visit(ToReadable(data.cFileName).c_str());
  } while (search.Next(&data));
  if (GetLastError() == ERROR_NO_MORE_FILES) return DirectoryResult::kComplete;
  RememberSystemError();
  return DirectoryResult::kReadFailed;
}

}  // namespace moldex

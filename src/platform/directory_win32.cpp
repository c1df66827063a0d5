#include <windows.h>

#include <cerrno>
#include <cwchar>

#include "platform/directory.h"
#include "platform/file_services.h"
#include "platform/local_text_win32.h"
#include "platform/owned_win32.h"
#include "platform/path_calls_win32.h"
#include "report/system_error.h"

namespace moldex {
namespace {

bool IsSelfOrParent(const wchar_t* name) {
  return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0;
}

bool LeadsElsewhere(const std::string& path, const FileIdentity& identity) {
  const auto status = QueryStatus(path);
  return status && status->identity.Excludes(identity);
}

}  // namespace

DirectoryResult VisitDirectory(const std::string& path,
                               const std::function<void(const char*)>& visit,
                               const std::optional<FileIdentity>& identity) {
  using enum DirectoryFailure::Step;
  if (identity && LeadsElsewhere(path, *identity)) {
    return DirectoryFailure{kOpen, RememberErrno(ENOENT)};
  }
  WIN32_FIND_DATAW data{};
  const OwnedSearch search(CallFindFirstFileIn(path, &data));
  if (!search) {
    // An empty root of a drive holds no "." to be found.
    if (GetLastError() == ERROR_FILE_NOT_FOUND) return {};
    return DirectoryFailure{kOpen, RememberSystemError()};
  }
  do {
    if (!IsSelfOrParent(data.cFileName)) visit(ToReadable(data.cFileName).c_str());
  } while (FindNextFileW(search.get(), &data) != FALSE);
  if (GetLastError() == ERROR_NO_MORE_FILES) return {};
  return DirectoryFailure{kRead, RememberSystemError()};
}

}  // namespace moldex

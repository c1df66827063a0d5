#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "platform/directory.h"
#include "platform/status_posix.h"
#include "report/system_error.h"

namespace moldex {
namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

bool IsSelfOrParent(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

}  // namespace

DirectoryResult VisitDirectory(const std::string& path,
                               const std::function<void(const char*)>& visit,
                               const std::optional<FileIdentity>& identity) {
  using enum DirectoryFailure::Step;
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir(path.empty() ? "." : path.c_str()));
  if (!directory) return DirectoryFailure{kOpen, RememberSystemError()};
  struct stat record {};
  if (identity &&
      (fstat(dirfd(directory.get()), &record) != 0 || ToFileStatus(record).identity != *identity)) {
    return DirectoryFailure{kOpen, RememberErrno(ESTALE)};
  }
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(directory.get());
    if (entry == nullptr) break;
    if (!IsSelfOrParent(entry->d_name)) visit(entry->d_name);
  }
  if (errno == 0) return {};
  return DirectoryFailure{kRead, RememberSystemError()};
}

}  // namespace moldex

#include "platform/file_services.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/status_posix.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// Remembers the error of a call that returned non-zero.
bool Succeeded(int result) {
  if (result == 0) return true;
  RememberSystemError();
  return false;
}

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kRegular;
  if (S_ISDIR(mode)) return FileKind::kDirectory;
  if (S_ISLNK(mode)) return FileKind::kSymbolicLink;
  return FileKind::kOther;
}

struct FreeMemory {
  void operator()(char* memory) const { std::free(memory); }
};

}  // namespace

FileStatus ToFileStatus(const struct stat& record) {
  FileStatus status;
  status.kind = KindOf(record.st_mode);
  status.mode = static_cast<std::uint32_t>(record.st_mode);
  // What a directory takes up is the file system's affair; the archiver counts it as 0.
  if (status.kind != FileKind::kDirectory) {
    status.size_bytes = static_cast<std::uint64_t>(record.st_size);
  }
  status.modified_seconds = static_cast<std::int64_t>(record.st_mtime);
  status.identity = {static_cast<std::uint64_t>(record.st_dev),
                     static_cast<std::uint64_t>(record.st_ino)};
  return status;
}

PathRules SystemPathRules() { return PathRules::kPosix; }

std::optional<FileStatus> QueryStatus(const std::string& path) {
  struct stat record {};
  if (!Succeeded(stat(path.c_str(), &record))) return std::nullopt;
  return ToFileStatus(record);
}

std::optional<FileStatus> QueryLinkStatus(const std::string& path) {
  struct stat record {};
  if (!Succeeded(lstat(path.c_str(), &record))) return std::nullopt;
  return ToFileStatus(record);
}

Existence TestExistence(const std::string& path) {
  if (access(path.c_str(), F_OK) == 0) return Existence::kExists;
  const bool missing = errno == ENOENT;
  RememberSystemError();
  return missing ? Existence::kMissing : Existence::kUnknown;
}

bool CreateDirectoryAt(const std::string& path) {
  if (mkdir(path.c_str(), 0777) == 0 || errno == EEXIST) return true;
  RememberSystemError();
  return false;
}

bool DeleteFileAt(const std::string& path) { return Succeeded(unlink(path.c_str())); }

bool SetPermissionsAt(const std::string& path, std::uint32_t bits) {
  return Succeeded(chmod(path.c_str(), static_cast<mode_t>(bits & kModePermissions)));
}

std::string CurrentDirectory() {
  const std::unique_ptr<char, FreeMemory> directory(getcwd(nullptr, 0));
  if (directory) return directory.get();
  RememberSystemError();
  return {};
}

bool ChangeDirectory(const std::string& path) { return Succeeded(chdir(path.c_str())); }

}  // namespace moldex

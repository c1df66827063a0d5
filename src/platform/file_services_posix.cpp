#include "platform/file_services.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/attributes.h"
#include "platform/retry_posix.h"
#include "platform/status_posix.h"
#include "report/system_error.h"

namespace moldex {
namespace {

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kRegular;
  if (S_ISDIR(mode)) return FileKind::kDirectory;
  if (S_ISLNK(mode)) return FileKind::kSymbolicLink;
  return FileKind::kOther;
}

// The attributes that a POSIX file can be said to have.
std::uint32_t AttributesOf(mode_t mode) {
  const std::uint32_t read_only = (mode & S_IWUSR) != 0 ? 0 : kAttributeReadOnly;
  if (S_ISDIR(mode)) return kAttributeDirectory | read_only;
  return read_only != 0 ? read_only : kAttributeNormal;
}

Result<Existence> MakeDirectory(const std::string& path, mode_t mode) {
  if (Retrying([&] { return mkdir(path.c_str(), mode); }) == 0) return Existence::kMissing;
  if (errno != EEXIST) return RememberSystemError();
  struct stat record {};
  if (stat(path.c_str(), &record) == 0 && S_ISDIR(record.st_mode)) return Existence::kExists;
  return RememberErrno(ENOTDIR);
}

struct FreeMemory {
  void operator()(char* memory) const { std::free(memory); }
};

}  // namespace

FileStatus ToFileStatus(const struct stat& record) {
  FileStatus status;
  status.kind = KindOf(record.st_mode);
  status.mode = static_cast<std::uint32_t>(record.st_mode);
  // How much a directory takes up depends on the file system; the archiver counts it as 0.
  if (status.kind != FileKind::kDirectory) {
    status.size_bytes = static_cast<std::uint64_t>(record.st_size);
  }
  status.modified = {static_cast<std::int64_t>(record.st_mtim.tv_sec),
                     static_cast<std::int32_t>(record.st_mtim.tv_nsec)};
  status.attributes = AttributesOf(record.st_mode);
  status.identity = {static_cast<std::uint64_t>(record.st_dev),
                     static_cast<std::uint64_t>(record.st_ino)};
  return status;
}

mode_t PermissionsOf(std::uint32_t attributes, bool executable) {
  mode_t permissions = (attributes & kAttributeReadOnly) != 0 ? 0444 : 0666;
  if (executable) permissions |= 0111;
  const mode_t mask = umask(0);
  umask(mask);
  return permissions & ~mask;
}

PathRules SystemPathRules() { return PathRules::kPosix; }

Result<FileStatus> QueryStatus(const std::string& path) {
  struct stat record {};
  if (Retrying([&] { return stat(path.c_str(), &record); }) != 0) return RememberSystemError();
  return ToFileStatus(record);
}

Result<FileStatus> QueryLinkStatus(const std::string& path) {
  struct stat record {};
  if (Retrying([&] { return lstat(path.c_str(), &record); }) != 0) return RememberSystemError();
  return ToFileStatus(record);
}

// The name is looked up in the open directory, which nobody can replace any more.
Result<FileStatus> QueryLinkStatusIn(const FileIdentity& directory, const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string parent = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const int descriptor =
      Retrying([&] { return open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); });
  struct stat record {};
  bool found = descriptor >= 0 && fstat(descriptor, &record) == 0;
  if (found && ToFileStatus(record).identity != directory) {
    errno = ESTALE;
    found = false;
  }
  const std::string name = path.substr(slash + 1);
  found = found && fstatat(descriptor, name.c_str(), &record, AT_SYMLINK_NOFOLLOW) == 0;
  if (!found) RememberSystemError();
  if (descriptor >= 0) close(descriptor);
  if (!found) return LastSystemError();
  return ToFileStatus(record);
}

std::optional<FileStatus> StandardStreamStatus(StandardStream stream) {
  struct stat record {};
  struct stat null_device {};
  const int descriptor = stream == StandardStream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
  if (fstat(descriptor, &record) != 0) return std::nullopt;
  const bool is_null = S_ISCHR(record.st_mode) && stat("/dev/null", &null_device) == 0 &&
                       record.st_rdev == null_device.st_rdev;
  if (is_null) return std::nullopt;
  return ToFileStatus(record);
}

Result<Existence> TestExistence(const std::string& path) {
  if (access(path.c_str(), F_OK) == 0) return Existence::kExists;
  if (errno == ENOENT) return Existence::kMissing;
  return RememberSystemError();
}

Result<Existence> CreateDirectoryAt(const std::string& path) { return MakeDirectory(path, 0777); }

Result<Existence> CreatePrivateDirectoryAt(const std::string& path) {
  return MakeDirectory(path, 0700);
}

Result<std::string> ReadSymbolicLink(const std::string& path) {
  std::string target(256, '\0');
  for (;;) {
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0) return RememberSystemError();
    if (static_cast<std::size_t>(length) < target.size()) {
      target.resize(static_cast<std::size_t>(length));
      return target;
    }
    target.resize(target.size() * 2);
  }
}

Result<void> CreateSymbolicLink(const std::string& path, const std::string& target) {
  const auto make = [&] { return symlink(target.c_str(), path.c_str()); };
  if (Retrying(make) == 0) return {};
  struct stat record {};
  const bool replace =
      errno == EEXIST && lstat(path.c_str(), &record) == 0 && !S_ISDIR(record.st_mode);
  if (!replace) return RememberSystemError();
  if (S_ISREG(record.st_mode) && (record.st_mode & S_IWUSR) == 0) return RememberErrno(EACCES);
  const auto deleted = DeleteFileAt(path);
  return deleted ? RetriedCall(make) : deleted;
}

Result<void> SetLinkDate(const std::string& path, const TimePoint& time) {
  const timespec when = {static_cast<time_t>(time.seconds), time.nanoseconds};
  const timespec both[2] = {when, when};
  return RetriedCall([&] { return utimensat(AT_FDCWD, path.c_str(), both, AT_SYMLINK_NOFOLLOW); });
}

Result<double> DiskFreeSpace(const std::string& path) {
  struct statvfs record {};
  if (Retrying([&] { return statvfs(path.c_str(), &record); }) != 0) {
    if (errno == ENOSYS) return -1.0;
    return RememberSystemError();
  }
  return static_cast<double>(record.f_bavail) * static_cast<double>(record.f_frsize);
}

Result<void> DeleteFileAt(const std::string& path) {
  return RetriedCall([&] { return unlink(path.c_str()); });
}

Result<void> SetPermissionsAt(const std::string& path, std::uint32_t bits) {
  struct stat record {};
  if (Retrying([&] { return stat(path.c_str(), &record); }) != 0) return RememberSystemError();
  const mode_t kept = record.st_mode & (S_ISUID | S_ISGID | S_ISVTX);
  const auto permissions = static_cast<mode_t>(bits & kModePermissions);
  return RetriedCall([&] { return chmod(path.c_str(), kept | permissions); });
}

Result<void> SetAttributesAt(const std::string& path, std::uint32_t attributes, bool executable) {
  const mode_t permissions = PermissionsOf(attributes, executable);
  return RetriedCall([&] { return chmod(path.c_str(), permissions); });
}

Result<void> SetDirectoryModeAt(const std::string& path, std::uint32_t mode, bool long_names) {
  const bool adds_search = long_names && (mode & S_IRUSR) != 0;
  return SetPermissionsAt(path, adds_search ? mode | S_IXUSR : mode);
}

Result<void> AddDirectoryAttributesAt(const std::string& /*path*/, std::uint32_t /*mode*/) {
  return {};
}

Result<std::string> CurrentDirectory() {
  const std::unique_ptr<char, FreeMemory> directory(getcwd(nullptr, 0));
  if (!directory) return RememberSystemError();
  return std::string(directory.get());
}

Result<void> ChangeDirectory(const std::string& path) {
  return RetriedCall([&] { return chdir(path.c_str()); });
}

// Looking up "." needs the same right as entering.
Result<void> CanEnterDirectory(const std::string& path) {
  const std::string self = path.empty() ? path : path + "/.";
  struct stat record {};
  return RetriedCall([&] { return stat(self.c_str(), &record); });
}

}  // namespace moldex

#include "platform/open_file_win32.h"

#include <windows.h>

#include <cerrno>

#include "platform/file_handle.h"
#include "platform/file_services.h"
#include "platform/long_name.h"
#include "platform/path_calls_win32.h"
#include "report/system_error.h"

namespace moldex {
namespace {

DWORD AccessOf(unsigned flags) {
  const bool long_names = LongNameMode();
  if ((flags & kOpenCreate) != 0) {
    return GENERIC_READ | GENERIC_WRITE |
           (long_names ? WRITE_DAC | WRITE_OWNER | ACCESS_SYSTEM_SECURITY : 0);
  }
  return GENERIC_READ | READ_CONTROL | ((flags & kOpenReadWrite) != 0 ? GENERIC_WRITE : 0) |
         (long_names ? ACCESS_SYSTEM_SECURITY : 0);
}

// A file that is to be locked is emptied only after that.
DWORD DispositionOf(unsigned flags) {
  if ((flags & kOpenCreate) == 0) return OPEN_EXISTING;
  if ((flags & kOpenNew) != 0) return CREATE_NEW;
  return (flags & kOpenReadWrite) != 0 ? OPEN_ALWAYS : CREATE_ALWAYS;
}

OwnedHandle OpenSystemFile(const std::string& path, unsigned flags, DWORD access,
                           DWORD attributes) {
  const DWORD backup = LongNameMode() ? FILE_FLAG_BACKUP_SEMANTICS : 0;
  // Without this a symbolic link to nowhere would get a file made where it leads.
  const DWORD no_link = (flags & kOpenNew) != 0 ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
  const PathText text = (flags & kOpenUtf8Path) != 0 ? PathText::kUtf8 : PathText::kLocal;
  return OwnedHandle(
      CallCreateFile(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, DispositionOf(flags),
                     attributes | FILE_FLAG_SEQUENTIAL_SCAN | backup | no_link, text));
}

// Locks one byte beyond all that a file can have, because nobody else can read locked bytes here. A
// file system without locks is used without.
bool Lock(HANDLE handle) {
  OVERLAPPED place{};
  place.Offset = MAXDWORD - 1;
  place.OffsetHigh = MAXLONG;
  if (LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) {
    return true;
  }
  const DWORD why = GetLastError();
  return why != ERROR_LOCK_VIOLATION && why != ERROR_IO_PENDING;
}

// Locks an archive, and empties one that is being made.
bool Claim(HANDLE handle, unsigned flags) {
  if ((flags & kOpenReadWrite) == 0 || GetFileType(handle) != FILE_TYPE_DISK) return true;
  if (!Lock(handle)) return false;
  return (flags & kOpenCreate) == 0 || SetEndOfFile(handle) != FALSE;
}

// Two refusals get a second attempt. A process without the privilege for system security can still
// read and write the bytes. A hidden or system file can be replaced only by a call that names these
// attributes.
OwnedHandle OpenWithRetries(const std::string& path, unsigned flags) {
  DWORD access = AccessOf(flags);
  OwnedHandle handle = OpenSystemFile(path, flags, access, FILE_ATTRIBUTE_NORMAL);
  if (!handle && GetLastError() == ERROR_PRIVILEGE_NOT_HELD) {
    access &= ~static_cast<DWORD>(ACCESS_SYSTEM_SECURITY);
    handle = OpenSystemFile(path, flags, access, FILE_ATTRIBUTE_NORMAL);
  }
  if (handle || GetLastError() != ERROR_ACCESS_DENIED) return handle;
  const DWORD present = CallGetFileAttributes(path);
  const DWORD kept = present & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  const bool replaceable = present != INVALID_FILE_ATTRIBUTES && kept != 0 &&
                           (present & FILE_ATTRIBUTE_DIRECTORY) == 0 && (flags & kOpenCreate) != 0;
  if (replaceable) return OpenSystemFile(path, flags, access, kept);
  SetLastError(ERROR_ACCESS_DENIED);
  return handle;
}

bool HasOtherNames(const std::string& path) {
  const OwnedHandle file(CallCreateFile(path, 0,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT));
  BY_HANDLE_FILE_INFORMATION record{};
  return file && GetFileInformationByHandle(file.get(), &record) != FALSE &&
         record.nNumberOfLinks > 1;
}

// A file that comes out of an archive replaces a symbolic link instead of following it. It replaces
// one name of a file with several instead of changing what the other names show. A read-only file
// stays.
Result<void> MakeWay(const std::string& path) {
  const auto object = FindObject(path);
  const bool is_link = object && IsSymbolicLink(*object);
  if (object && !is_link && (object->dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
    return RememberErrno(EACCES);
  }
  if (!is_link && !HasOtherNames(path)) return {};
  return DeleteFileAt(path);
}

}  // namespace

Result<OwnedHandle> OpenFileHandle(const std::string& path, unsigned flags) {
  if ((flags & kOpenExtracted) != 0 && (flags & kOpenNew) == 0) {
    const auto way = MakeWay(path);
    if (!way) return way.error();
  }
  OwnedHandle file = OpenWithRetries(path, flags);
  if (!file) return RememberSystemError();
  BY_HANDLE_FILE_INFORMATION record{};
  const bool is_directory = GetFileInformationByHandle(file.get(), &record) != FALSE &&
                            (record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool is_device = (flags & kOpenExtracted) != 0 && GetFileType(file.get()) != FILE_TYPE_DISK;
  if (is_directory || is_device) return RememberErrno(EACCES);
  if (!Claim(file.get(), flags)) return RememberSystemError();
  return file;
}

}  // namespace moldex

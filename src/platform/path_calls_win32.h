// Shared by the Win32 sources of this room only: the calls of the system and of its runtime library
// that take a path.
//
// Their forms for text in the local code page end at 260 characters on many systems, even behind
// "\\?\". What may be longer goes to the forms for wide text, which take 32767. A failed call
// leaves its error where the system does: in GetLastError or, with the runtime library, in errno.
#ifndef MOLDEX_PLATFORM_PATH_CALLS_WIN32_H_
#define MOLDEX_PLATFORM_PATH_CALLS_WIN32_H_

#include <windows.h>

#include <sys/stat.h>
#include <sys/utime.h>

#include <string>

namespace moldex {

HANDLE CallCreateFile(const std::string& path, DWORD access, DWORD share, DWORD disposition,
                      DWORD flags);
// A name that has no form in the local code page, or none that fits, comes as the system gives it.
HANDLE CallFindFirstFile(const std::string& pattern, WIN32_FIND_DATAA* data);
DWORD CallGetFileAttributes(const std::string& path);
bool CallSetFileAttributes(const std::string& path, DWORD attributes);
bool CallCreateDirectory(const std::string& path);
bool CallDeleteFile(const std::string& path);
bool CallCreateSymbolicLink(const std::string& path, const std::string& target, DWORD flags);
bool CallGetDiskFreeSpace(const std::string& path, ULARGE_INTEGER* free_bytes);

int CallStat(const std::string& path, struct _stati64* record);
int CallAccess(const std::string& path);
int CallChmod(const std::string& path, int mode);
int CallUtime(const std::string& path, struct _utimbuf* times);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_PATH_CALLS_WIN32_H_

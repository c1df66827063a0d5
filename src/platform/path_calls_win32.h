// Shared by the Win32 sources of this module only: the calls of the system and of its runtime
// library that take a path.
//
// Each takes the path as the program has it, in the local code page unless told otherwise, and
// hands it to the system as wide text: as it is, or in long-name mode in its long-name form
// (long_name.h). A path that is no text in the code page fails. A failed call leaves its error
// where the system does, in GetLastError or, with the runtime library, in errno; all may throw
// CGetCwdExcept in long-name mode, when there is no current directory.
#ifndef MOLDEX_PLATFORM_PATH_CALLS_WIN32_H_
#define MOLDEX_PLATFORM_PATH_CALLS_WIN32_H_

#include <windows.h>

#include <sys/stat.h>
#include <sys/utime.h>

#include <optional>
#include <string>

namespace moldex {

enum class PathText { kLocal, kUtf8 };

// The path as the system gets it.
std::optional<std::wstring> SystemPath(const std::string& path, PathText text = PathText::kLocal);

HANDLE CallCreateFile(const std::string& path, DWORD access, DWORD share, DWORD disposition,
                      DWORD flags, PathText text = PathText::kLocal);
DWORD CallGetFileAttributes(const std::string& path);
bool CallSetFileAttributes(const std::string& path, DWORD attributes);
bool CallCreateDirectory(const std::string& path);
// Deletes a file or a symbolic link, also one that was made for a directory.
bool CallDeleteFile(const std::string& path);
// "/" in the target becomes "\"; the target gets no other form.
bool CallCreateSymbolicLink(const std::string& path, const std::string& target, DWORD flags);
bool CallGetDiskFreeSpace(const std::string& path, ULARGE_INTEGER* free_bytes);

// Begins to list a directory; an empty path means the current one.
HANDLE CallFindFirstFileIn(const std::string& directory, WIN32_FIND_DATAW* data);
// The data of an object in the directory that it is in. Links are not followed, and the short name
// is empty.
std::optional<WIN32_FIND_DATAW> FindObject(const std::string& path);
bool IsSymbolicLink(const WIN32_FIND_DATAW& data);

int CallStat(const std::string& path, struct _stati64* record);
int CallAccess(const std::string& path);
int CallChmod(const std::string& path, int mode);
int CallUtime(const std::string& path, struct _utimbuf* times);
// The path goes to the system as it is in long-name mode, too.
int CallChangeDirectory(const std::string& path);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_PATH_CALLS_WIN32_H_

#include "platform/path_calls_win32.h"

#include <io.h>

#include <algorithm>

namespace moldex {
namespace {

// A directory's path has to leave room for a short name.
constexpr std::size_t kLongestPath = MAX_PATH - 13;

std::wstring Wide(const std::string& text) {
  const int count = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), count, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(std::max(length, 0)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), count, wide.data(), length);
  return wide;
}

// A path never has more characters than bytes.
template <typename Narrow, typename WideCall>
auto ByLength(const std::string& path, Narrow narrow, WideCall wide) {
  return path.size() < kLongestPath ? narrow(path.c_str()) : wide(Wide(path).c_str());
}

void ToNarrow(const WIN32_FIND_DATAW& wide, WIN32_FIND_DATAA* data) {
  *data = {};
  data->dwFileAttributes = wide.dwFileAttributes;
  data->ftCreationTime = wide.ftCreationTime;
  data->ftLastAccessTime = wide.ftLastAccessTime;
  data->ftLastWriteTime = wide.ftLastWriteTime;
  data->nFileSizeHigh = wide.nFileSizeHigh;
  data->nFileSizeLow = wide.nFileSizeLow;
  data->dwReserved0 = wide.dwReserved0;
  WideCharToMultiByte(CP_ACP, 0, wide.cFileName, -1, data->cFileName, sizeof(data->cFileName) - 1,
                      nullptr, nullptr);
}

}  // namespace

HANDLE CallCreateFile(const std::string& path, DWORD access, DWORD share, DWORD disposition,
                      DWORD flags) {
  return ByLength(
      path,
      [&](const char* name) {
        return CreateFileA(name, access, share, nullptr, disposition, flags, nullptr);
      },
      [&](const wchar_t* name) {
        return CreateFileW(name, access, share, nullptr, disposition, flags, nullptr);
      });
}

HANDLE CallFindFirstFile(const std::string& pattern, WIN32_FIND_DATAA* data) {
  return ByLength(
      pattern, [&](const char* name) { return FindFirstFileA(name, data); },
      [&](const wchar_t* name) {
        WIN32_FIND_DATAW wide{};
        const HANDLE search = FindFirstFileW(name, &wide);
        if (search != INVALID_HANDLE_VALUE) ToNarrow(wide, data);
        return search;
      });
}

DWORD CallGetFileAttributes(const std::string& path) {
  return ByLength(path, GetFileAttributesA, GetFileAttributesW);
}

bool CallSetFileAttributes(const std::string& path, DWORD attributes) {
  return ByLength(
             path, [&](const char* name) { return SetFileAttributesA(name, attributes); },
             [&](const wchar_t* name) { return SetFileAttributesW(name, attributes); }) != FALSE;
}

bool CallCreateDirectory(const std::string& path) {
  return ByLength(
             path, [](const char* name) { return CreateDirectoryA(name, nullptr); },
             [](const wchar_t* name) { return CreateDirectoryW(name, nullptr); }) != FALSE;
}

bool CallDeleteFile(const std::string& path) {
  return ByLength(path, DeleteFileA, DeleteFileW) != FALSE;
}

bool CallCreateSymbolicLink(const std::string& path, const std::string& target, DWORD flags) {
  if (path.size() < kLongestPath && target.size() < kLongestPath) {
    return CreateSymbolicLinkA(path.c_str(), target.c_str(), flags) != 0;
  }
  return CreateSymbolicLinkW(Wide(path).c_str(), Wide(target).c_str(), flags) != 0;
}

bool CallGetDiskFreeSpace(const std::string& path, ULARGE_INTEGER* free_bytes) {
  return ByLength(
             path,
             [&](const char* name) {
               return GetDiskFreeSpaceExA(name, free_bytes, nullptr, nullptr);
             },
             [&](const wchar_t* name) {
               return GetDiskFreeSpaceExW(name, free_bytes, nullptr, nullptr);
             }) != FALSE;
}

int CallStat(const std::string& path, struct _stati64* record) {
  return ByLength(
      path, [&](const char* name) { return _stati64(name, record); },
      [&](const wchar_t* name) { return _wstati64(name, record); });
}

int CallAccess(const std::string& path) {
  return ByLength(
      path, [](const char* name) { return _access(name, 0); },
      [](const wchar_t* name) { return _waccess(name, 0); });
}

int CallChmod(const std::string& path, int mode) {
  return ByLength(
      path, [&](const char* name) { return _chmod(name, mode); },
      [&](const wchar_t* name) { return _wchmod(name, mode); });
}

int CallUtime(const std::string& path, struct _utimbuf* times) {
  return ByLength(
      path, [&](const char* name) { return _utime(name, times); },
      [&](const wchar_t* name) { return _wutime(name, times); });
}

}  // namespace moldex

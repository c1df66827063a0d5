#include "platform/path_calls_win32.h"

#include <direct.h>
#include <io.h>

#include <algorithm>
#include <array>

#include "platform/local_text_win32.h"
#include "platform/long_name.h"
#include "platform/owned_win32.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// Makes a call with a path, or returns its failure when there is no such path.
template <typename Result, typename Call>
Result WithPath(const std::string& path, Result failure, Call call) {
  const auto wide = SystemPath(path);
  return wide ? static_cast<Result>(call(wide->c_str())) : failure;
}

template <typename Call>
bool Succeeds(const std::string& path, Call call) {
  return WithPath(path, BOOL{FALSE}, call) != FALSE;
}

bool IsWideSeparator(wchar_t c) { return c == L'/' || c == L'\\'; }

std::size_t LengthWithoutTrailingSeparators(std::wstring_view path) {
  const std::size_t shortest = path.find(L':') == 1 ? 3 : 1;
  std::size_t length = path.size();
  while (length > shortest && IsWideSeparator(path[length - 1]))
    --length;
  return length;
}

// A search takes these for patterns, "<", ">" and the quotation mark among them.
bool HasSearchPattern(std::wstring_view path) {
  const bool has_prefix = path.size() > 3 && IsWideSeparator(path[0]) && IsWideSeparator(path[1]) &&
                          IsWideSeparator(path[3]);
  if (has_prefix) path.remove_prefix(4);
  return path.find_first_of(L"*?<>\"") != std::wstring_view::npos;
}

// The data of the root of a drive or of a share, which is in no directory.
std::optional<WIN32_FIND_DATAW> DataOfRoot(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA record{};
  if (GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &record) == FALSE) {
    return std::nullopt;
  }
  WIN32_FIND_DATAW data{};
  data.dwFileAttributes = record.dwFileAttributes;
  data.ftLastWriteTime = record.ftLastWriteTime;
  data.nFileSizeHigh = record.nFileSizeHigh;
  data.nFileSizeLow = record.nFileSizeLow;
  return data;
}

}  // namespace

std::optional<std::wstring> SystemPath(const std::string& path, PathText text) {
  auto wide = text == PathText::kUtf8 ? Utf8ToWide(path) : ToWide(path);
  if (!wide) return wide;
  // The system reads nothing after this prefix, and does not know "/" there.
  if (wide->starts_with(LR"(\\?\)")) std::replace(wide->begin(), wide->end(), L'/', L'\\');
  if (!LongNameMode()) return wide;
  std::array<wchar_t, MAX_PATH> directory{};
  const DWORD length = GetCurrentDirectoryW(MAX_PATH, directory.data());
  if (length == 0 || length > MAX_PATH) {
    RememberSystemError();
    throw CGetCwdExcept();
  }
  return LongNameForm(*wide, directory.data());
}

HANDLE CallCreateFile(const std::string& path, DWORD access, DWORD share, DWORD disposition,
                      DWORD flags, PathText text) {
  const auto name = SystemPath(path, text);
  return name ? CreateFileW(name->c_str(), access, share, nullptr, disposition, flags, nullptr)
              : INVALID_HANDLE_VALUE;
}

DWORD CallGetFileAttributes(const std::string& path) {
  return WithPath(path, DWORD{INVALID_FILE_ATTRIBUTES}, GetFileAttributesW);
}

bool CallSetFileAttributes(const std::string& path, DWORD attributes) {
  return Succeeds(path, [&](const wchar_t* name) { return SetFileAttributesW(name, attributes); });
}

bool CallCreateDirectory(const std::string& path) {
  return Succeeds(path, [](const wchar_t* name) { return CreateDirectoryW(name, nullptr); });
}

bool CallDeleteFile(const std::string& path) {
  if (Succeeds(path, DeleteFileW)) return true;
  const DWORD why = GetLastError();
  const auto object = why == ERROR_ACCESS_DENIED ? FindObject(path) : std::nullopt;
  const bool is_directory = object && (object->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  if (is_directory && IsSymbolicLink(*object)) return Succeeds(path, RemoveDirectoryW);
  SetLastError(why);
  return false;
}

bool CallCreateSymbolicLink(const std::string& path, const std::string& target, DWORD flags) {
  auto wide_target = ToWide(target);
  if (!wide_target) return false;
  std::replace(wide_target->begin(), wide_target->end(), L'/', L'\\');
  return Succeeds(path, [&](const wchar_t* name) {
    return CreateSymbolicLinkW(name, wide_target->c_str(), flags) != 0;
  });
}

// A share is known to this call by its trailing separator only.
bool CallGetDiskFreeSpace(const std::string& path, ULARGE_INTEGER* free_bytes) {
  auto wide = SystemPath(path);
  if (!wide) return false;
  if (!wide->empty() && !IsWideSeparator(wide->back()) && wide->back() != L':') *wide += L'\\';
  return GetDiskFreeSpaceExW(wide->c_str(), free_bytes, nullptr, nullptr) != FALSE;
}

// "C:" is the current directory of its drive, not the drive's root; the long-name form is the root.
HANDLE CallFindFirstFileIn(const std::string& directory, WIN32_FIND_DATAW* data) {
  auto pattern = SystemPath(directory.empty() ? "." : directory);
  if (!pattern || HasSearchPattern(*pattern)) {
    if (pattern) SetLastError(ERROR_INVALID_NAME);
    return INVALID_HANDLE_VALUE;
  }
  const bool closed = IsWideSeparator(pattern->back()) || pattern->back() == L':';
  return FindFirstFileW(pattern->append(closed ? L"*" : L"\\*").c_str(), data);
}

std::optional<WIN32_FIND_DATAW> FindObject(const std::string& path) {
  auto wide = SystemPath(path);
  if (!wide) return std::nullopt;
  wide->resize(LengthWithoutTrailingSeparators(*wide));
  if (HasSearchPattern(*wide)) {
    SetLastError(ERROR_INVALID_NAME);  // a search would find something else
    return std::nullopt;
  }
  WIN32_FIND_DATAW data{};
  const OwnedSearch search(FindFirstFileW(wide->c_str(), &data));
  return search ? data : DataOfRoot(*wide);
}

bool IsSymbolicLink(const WIN32_FIND_DATAW& data) {
  return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         data.dwReserved0 == IO_REPARSE_TAG_SYMLINK;
}

int CallStat(const std::string& path, struct _stati64* record) {
  return WithPath(path, -1, [&](const wchar_t* name) { return _wstati64(name, record); });
}

int CallAccess(const std::string& path) {
  return WithPath(path, -1, [](const wchar_t* name) { return _waccess(name, 0); });
}

int CallChmod(const std::string& path, int mode) {
  return WithPath(path, -1, [&](const wchar_t* name) { return _wchmod(name, mode); });
}

int CallUtime(const std::string& path, struct _utimbuf* times) {
  return WithPath(path, -1, [&](const wchar_t* name) { return _wutime(name, times); });
}

int CallChangeDirectory(const std::string& path) {
  const auto wide = ToWide(path);
  return wide ? _wchdir(wide->c_str()) : -1;
}

}  // namespace moldex

#include "platform/long_name.h"

#include <algorithm>

namespace moldex {
namespace {

bool long_name_mode = false;

constexpr std::wstring_view kPrefix = LR"(\\?\)";
constexpr std::wstring_view kSharePrefix = LR"(\\?\UNC)";
constexpr std::wstring_view kSeparators = L"/\\";

bool IsSeparator(wchar_t c) { return kSeparators.find(c) != std::wstring_view::npos; }

bool IsSharePath(std::wstring_view path) {
  return path.size() > 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
}

bool HasDevicePrefix(std::wstring_view path) {
  return IsSharePath(path) && path.size() > 3 && (path[2] == L'?' || path[2] == L'.') &&
         IsSeparator(path[3]);
}

bool IsRelative(std::wstring_view path) { return path.size() < 2 || path[1] != L':'; }

// The components of `path` one after another, each with a separator before it. ".." does not climb
// above the first `fixed` components.
std::wstring Resolved(std::wstring_view path, std::size_t fixed) {
  std::wstring result;
  std::size_t depth = 0;
  while (!path.empty()) {
    const std::size_t length = std::min(path.find_first_of(kSeparators), path.size());
    const std::wstring_view component = path.substr(0, length);
    path.remove_prefix(std::min(length + 1, path.size()));
    if (component.empty() || component == L".") continue;
    if (component != L"..") {
      result.append(L"\\").append(component);
      ++depth;
    } else if (depth > fixed) {
      result.resize(result.rfind(L'\\'));
      --depth;
    }
  }
  return result;
}

// The prefix and an absolute path, which begins with a drive.
std::wstring Prefixed(std::wstring_view path) {
  const std::wstring resolved = Resolved(path, 1);
  const bool is_drive = resolved.size() == 3 && resolved[2] == L':';
  std::wstring form(kPrefix);
  if (!resolved.empty()) form.append(resolved, 1);
  return form.append(is_drive ? L"\\" : L"");
}

}  // namespace

void SetLongNameMode(bool on) { long_name_mode = on; }

bool LongNameMode() { return long_name_mode; }

std::wstring LongNameForm(std::wstring_view path, std::wstring_view current_directory) {
  if (path.empty() || path.starts_with(kPrefix)) return std::wstring(path);
  if (HasDevicePrefix(path)) return Prefixed(path.substr(kPrefix.size()));
  if (IsSharePath(path)) {
    // A server and a share stand where other paths have their drive.
    return std::wstring(kSharePrefix).append(Resolved(path, 2));
  }
  if (path == L"/" || path == L"\\") {
    return LongNameForm(std::wstring(current_directory.substr(0, 2)) + L"/", current_directory);
  }
  if (IsRelative(path)) {
    return LongNameForm(std::wstring(current_directory).append(L"\\").append(path),
                        current_directory);
  }
  return Prefixed(path);
}

}  // namespace moldex

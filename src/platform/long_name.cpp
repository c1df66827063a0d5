#include "platform/long_name.h"

#include <algorithm>

#include "platform/path_rules.h"

namespace moldex {
namespace {

bool long_name_mode = false;

constexpr std::string_view kPrefix = R"(\\?\)";
constexpr std::string_view kSharePrefix = R"(\\?\UNC)";
constexpr PathRules kRules = PathRules::kWindows;

bool IsSharePath(std::string_view path) {
  return path.size() > 2 && IsSeparator(kRules, path[0]) && IsSeparator(kRules, path[1]);
}

// The components of `path` one behind the other, each with a separator in front, below the first
// `fixed` of which ".." does not climb.
std::string Resolved(std::string_view path, std::size_t fixed) {
  std::string result;
  std::size_t depth = 0;
  while (!path.empty()) {
    const std::size_t length = std::min(path.find_first_of("/\\"), path.size());
    const std::string_view component = path.substr(0, length);
    path.remove_prefix(std::min(length + 1, path.size()));
    if (component.empty() || component == ".") continue;
    if (component != "..") {
      result.append("\\").append(component);
      ++depth;
    } else if (depth > fixed) {
      result.resize(result.rfind('\\'));
      --depth;
    }
  }
  return result;
}

}  // namespace

void SetLongNameMode(bool on) { long_name_mode = on; }

bool LongNameMode() { return long_name_mode; }

std::string LongNameForm(std::string_view path, std::string_view current_directory) {
  if (path.empty() || path.starts_with(kPrefix)) return std::string(path);
  if (IsSharePath(path)) {
    // A server and a share stand where other paths have their drive.
    return std::string(kSharePrefix).append(Resolved(path, 2));
  }
  if (path == "/" || path == "\\") {
    return LongNameForm(std::string(current_directory.substr(0, 2)) + "/", current_directory);
  }
  if (IsRelative(path)) {
    return LongNameForm(std::string(current_directory).append("\\").append(path),
                        current_directory);
  }
  const std::string resolved = Resolved(path, 1).substr(1);
  const bool is_drive = resolved.size() == 2;
  return std::string(kPrefix).append(resolved).append(is_drive ? "\\" : "");
}

}  // namespace moldex

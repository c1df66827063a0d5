#include "platform/path_rules.h"

#include <algorithm>

namespace moldex {
namespace {

constexpr std::size_t kDriveLength = 2;  // a letter and ":"

bool HasDrive(std::string_view name) { return name.size() >= kDriveLength && name[1] == ':'; }

// Cuts the first component off, and the separator behind it.
std::string_view TakeComponent(PathRules rules, std::string_view* path) {
  std::size_t length = 0;
  while (length < path->size() && !IsSeparator(rules, (*path)[length]))
    ++length;
  const std::string_view component = path->substr(0, length);
  path->remove_prefix(std::min(length + 1, path->size()));
  return component;
}

// Components that lead one directory down.
int ComponentCount(PathRules rules, std::string_view path) {
  int count = 0;
  while (!path.empty()) {
    const std::string_view component = TakeComponent(rules, &path);
    if (!component.empty() && component != ".") ++count;
  }
  return count;
}

// Bytes of the first character: one, and in UTF-8 those that continue it.
std::size_t CharacterLength(std::string_view text) {
  std::size_t length = 1;
  const auto continues = [&] { return (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80; };
  if (static_cast<unsigned char>(text[0]) >= 0xC0) {
    while (length < text.size() && continues())
      ++length;
  }
  return length;
}

// The classic two-pointer match: on a mismatch, let the last "*" take one character more.
bool MatchesGlob(std::string_view pattern, std::string_view name) {
  std::size_t p = 0;
  std::size_t n = 0;
  std::size_t star = std::string_view::npos;
  std::size_t star_end = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      star_end = n;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      n += pattern[p] == '?' ? CharacterLength(name.substr(n)) : 1;
      ++p;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = ++star_end;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*')
    ++p;
  return p == pattern.size();
}

}  // namespace

bool IsSeparator(PathRules rules, char c) {
  return c == '/' || (c == '\\' && rules == PathRules::kWindows);
}

std::size_t LastSeparator(PathRules rules, std::string_view path) {
  return path.find_last_of(rules == PathRules::kWindows ? "/\\" : "/");
}

std::string_view LastComponent(PathRules rules, std::string_view path) {
  const std::size_t separator = LastSeparator(rules, path);
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string WithSlashes(PathRules rules, std::string_view path) {
  std::string result(path);
  if (rules == PathRules::kWindows) std::replace(result.begin(), result.end(), '\\', '/');
  return result;
}

bool IsRelative(std::string_view name) { return !name.empty() && name != "/" && !HasDrive(name); }

bool IsAbsolutePath(PathRules rules, std::string_view path) {
  if (path.empty()) return false;
  return IsSeparator(rules, path[0]) || (rules == PathRules::kWindows && HasDrive(path));
}

bool HasParentComponent(PathRules rules, std::string_view name) {
  while (!name.empty()) {
    std::string_view component = TakeComponent(rules, &name);
    // What stands behind a drive begins a path of its own.
    if (rules == PathRules::kWindows) component.remove_prefix(component.rfind(':') + 1);
    if (component == "..") return true;
  }
  return false;
}

bool LinkLeaves(PathRules rules, std::string_view name, std::string_view target) {
  if (IsAbsolutePath(rules, target) || HasDrive(target)) return true;
  const std::size_t end = LastSeparator(rules, name);
  int depth = ComponentCount(rules, name.substr(0, end == std::string_view::npos ? 0 : end));
  bool descended = false;
  while (!target.empty()) {
    const std::string_view component = TakeComponent(rules, &target);
    if (component == "..") {
      if (descended || --depth < 0) return true;
    } else if (!component.empty() && component != ".") {
      descended = true;
    }
  }
  return false;
}

std::string JoinPath(std::string_view directory, std::string_view name) {
  std::string path(directory);
  if (!directory.empty() && !name.empty() && directory.back() != '/' && name.front() != '/') {
    path += '/';
  }
  return path.append(name);
}

std::string StoredName(PathRules rules, std::string_view disk_name, bool keep_absolute) {
  std::string name = WithSlashes(rules, disk_name);
  if (!keep_absolute) {
    std::string_view rest = name;
    while (HasDrive(rest) || rest.starts_with('/'))
      rest.remove_prefix(rest[0] == '/' ? 1 : kDriveLength);
    name.erase(0, name.size() - rest.size());
  }
  while (name.size() > 1 && name.back() == '/')
    name.pop_back();
  return name;
}

std::string TargetName(PathRules rules, std::string_view target_directory, std::string_view name) {
  if (target_directory.empty() || !IsRelative(name)) return std::string(name);
  if (rules == PathRules::kWindows) {
    const std::size_t colon = name.find(':');
    if (colon != std::string_view::npos) name.remove_prefix(colon + 1);
  }
  std::string path = WithSlashes(rules, target_directory);
  if (path.back() != '/') path += '/';
  return path.append(name);
}

std::string NormalisedName(PathRules rules, std::string_view name) {
  std::string result;
  if (!name.empty() && IsSeparator(rules, name[0])) result.push_back('/');
  while (!name.empty()) {
    const std::string_view component = TakeComponent(rules, &name);
    if (component.empty() || component == ".") continue;
    if (!result.empty() && result.back() != '/') result += '/';
    result += component;
  }
  return result;
}

bool HasWildcard(std::string_view name) {
  return name.find_first_of("*?") != std::string_view::npos;
}

bool MatchesPattern(std::string_view pattern, std::string_view name) {
  const bool is_point_file = !name.empty() && name[0] == '.';
  if (is_point_file && (pattern.empty() || pattern[0] != '.')) return false;
  return MatchesGlob(pattern, name);
}

}  // namespace moldex

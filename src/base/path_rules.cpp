#include "base/path_rules.h"

#include <algorithm>

#include "base/utf8.h"

namespace moldex {
namespace {

constexpr std::size_t kDriveLength = 2;  // a letter and ":"

bool HasDrive(std::string_view name) { return name.size() >= kDriveLength && name[1] == ':'; }

// "\" and "/" on Windows.
std::string_view Separators(const PathRules& rules) { return rules.is_windows ? "/\\" : "/"; }

// Cuts the first component off, and the separator after it.
std::string_view TakeComponent(const PathRules& rules, std::string_view* path) {
  const std::size_t length = std::min(FirstSeparator(rules, *path), path->size());
  const std::string_view component = path->substr(0, length);
  path->remove_prefix(std::min(length + 1, path->size()));
  return component;
}

// Components that lead one directory down.
int ComponentCount(const PathRules& rules, std::string_view path) {
  int count = 0;
  while (!path.empty()) {
    const std::string_view component = TakeComponent(rules, &path);
    if (!component.empty() && component != ".") ++count;
  }
  return count;
}

// Length of the prefix of Windows' own spelling of a path: "//?/UNC/", "//?/" or "//./".
std::size_t DevicePrefixLength(const PathRules& rules, std::string_view slashed) {
  constexpr std::string_view kShare = "//?/UNC/";
  if (!HasDevicePrefix(rules, slashed)) return 0;
  if (UpperAscii(slashed.substr(0, kShare.size())) == kShare) return kShare.size();
  return std::min<std::size_t>(slashed.size(), 4);
}

// Bytes of the first character: one, and after a lead byte of UTF-8 all that continue it.
std::size_t CharacterLength(std::string_view text) {
  if (static_cast<unsigned char>(text[0]) < 0xC0) return 1;
  const auto end = std::find_if_not(text.begin() + 1, text.end(), ContinuesUtf8);
  return static_cast<std::size_t>(end - text.begin());
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

bool IsSeparator(const PathRules& rules, char c) {
  return c == '/' || (c == '\\' && rules.is_windows);
}

std::size_t FirstOf(const PathRules& rules, std::string_view text, std::string_view wanted,
                    std::size_t from) {
  if (rules.begins_double_byte == nullptr) {
    // Looking for one character is much faster.
    return wanted.size() == 1 ? text.find(wanted[0], from) : text.find_first_of(wanted, from);
  }
  for (std::size_t at = from; at < text.size(); at += rules.begins_double_byte(text[at]) ? 2 : 1) {
    if (wanted.find(text[at]) != std::string_view::npos) return at;
  }
  return std::string_view::npos;
}

std::size_t FirstSeparator(const PathRules& rules, std::string_view path, std::size_t from) {
  return FirstOf(rules, path, Separators(rules), from);
}

std::size_t LastSeparator(const PathRules& rules, std::string_view path) {
  const std::string_view separators = Separators(rules);
  if (rules.begins_double_byte == nullptr) {
    return separators.size() == 1 ? path.rfind(separators[0]) : path.find_last_of(separators);
  }
  std::size_t last = std::string_view::npos;
  for (std::size_t at = FirstSeparator(rules, path); at != std::string_view::npos;
       at = FirstSeparator(rules, path, at + 1)) {
    last = at;
  }
  return last;
}

bool EndsWithSeparator(const PathRules& rules, std::string_view path) {
  return !path.empty() && LastSeparator(rules, path) == path.size() - 1;
}

std::string_view LastComponent(const PathRules& rules, std::string_view path) {
  const std::size_t separator = LastSeparator(rules, path);
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string WithSlashes(const PathRules& rules, std::string_view path) {
  std::string result(path);
  if (!rules.is_windows) return result;
  for (std::size_t at = FirstSeparator(rules, path); at != std::string_view::npos;
       at = FirstSeparator(rules, path, at + 1)) {
    result[at] = '/';
  }
  return result;
}

bool IsRelative(std::string_view name) { return !name.empty() && name != "/" && !HasDrive(name); }

bool HasDevicePrefix(const PathRules& rules, std::string_view name) {
  return rules.is_windows && name.size() > 2 && IsSeparator(rules, name[0]) &&
         IsSeparator(rules, name[1]) && (name[2] == '?' || name[2] == '.') &&
         (name.size() == 3 || IsSeparator(rules, name[3]));
}

bool IsAbsolutePath(const PathRules& rules, std::string_view path) {
  if (path.empty()) return false;
  return IsSeparator(rules, path[0]) || (rules.is_windows && HasDrive(path));
}

bool HasParentComponent(const PathRules& rules, std::string_view name) {
  while (!name.empty()) {
    std::string_view component = TakeComponent(rules, &name);
    // A path of its own begins after a drive.
    if (rules.is_windows) component.remove_prefix(component.rfind(':') + 1);
    if (component == "..") return true;
  }
  return false;
}

bool LinkLeaves(const PathRules& rules, std::string_view name, std::string_view target) {
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

std::string StoredName(const PathRules& rules, std::string_view disk_name, bool keep_absolute) {
  std::string name = WithSlashes(rules, disk_name);
  if (!keep_absolute) {
    std::string_view rest = name;
    rest.remove_prefix(DevicePrefixLength(rules, rest));
    while (HasDrive(rest) || rest.starts_with('/'))
      rest.remove_prefix(rest[0] == '/' ? 1 : kDriveLength);
    name.erase(0, name.size() - rest.size());
  }
  while (name.size() > 1 && name.back() == '/')
    name.pop_back();
  return name;
}

std::string_view NameBelowTarget(const PathRules& rules, std::string_view name) {
  if (!rules.is_windows || !IsRelative(name)) return name;
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string TargetName(const PathRules& rules, std::string_view target_directory,
                       std::string_view name) {
  if (target_directory.empty() || !IsRelative(name)) return std::string(name);
  std::string path = WithSlashes(rules, target_directory);
  if (path.back() != '/') path += '/';
  return path.append(NameBelowTarget(rules, name));
}

std::string NormalisedName(const PathRules& rules, std::string_view name) {
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

std::string ComparableName(const PathRules& rules, std::string_view name) {
  std::string result = NormalisedName(rules, name);
  return rules.fold != nullptr ? rules.fold(result) : result;
}

std::string LowerAscii(const PathRules& rules, std::string_view text) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::string result(text);
  for (std::size_t at = FirstOf(rules, text, kLetters); at != std::string_view::npos;
       at = FirstOf(rules, text, kLetters, at + 1)) {
    result[at] = ToLowerAscii(result[at]);
  }
  return result;
}

bool NamesADirectory(const PathRules& rules, std::string_view name) {
  const std::string_view last = LastComponent(rules, name);
  return last.empty() || last == "." || last == "..";
}

bool HasWildcard(std::string_view name) {
  return name.find_first_of("*?") != std::string_view::npos;
}

bool MatchesPattern(const PathRules& rules, std::string_view pattern, std::string_view name) {
  const bool is_point_file = !name.empty() && name[0] == '.';
  if (is_point_file && (pattern.empty() || pattern[0] != '.')) return false;
  if (rules.is_windows && pattern == "*.*") return true;
  if (rules.fold == nullptr) return MatchesGlob(pattern, name);
  return MatchesGlob(rules.fold(pattern), rules.fold(name));
}

}  // namespace moldex

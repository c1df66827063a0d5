#include "base/name_rules.h"

#include <algorithm>
#include <string>

#include "base/ascii.h"

namespace moldex {
namespace {

constexpr char kShortcutEnding[] = ".lnk";
constexpr std::string_view kForbidden = "<>\"|?*:";

// A digit, or one of the raised digits that Windows takes for 1, 2 and 3, in Latin-1 or UTF-8.
bool IsPortNumber(std::string_view text) {
  if (text.size() == 2 && text[0] == '\xC2') text.remove_prefix(1);
  return text.size() == 1 &&
         (IsDigit(text[0]) || text[0] == '\xB9' || text[0] == '\xB2' || text[0] == '\xB3');
}

// A device's name may have any extension, and blanks before the extension.
bool IsDevice(std::string_view component) {
  std::string name = UpperAscii(component.substr(0, component.find('.')));
  name.resize(name.find_last_not_of(' ') + 1);
  for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
    if (name == device) return true;
  }
  if (!name.starts_with("COM") && !name.starts_with("LPT")) return false;
  return IsPortNumber(std::string_view(name).substr(3));
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < ' '; }

bool IsAllowedComponent(const PathRules& rules, std::string_view component) {
  if (component.empty() || component == "." || component == "..") return true;
  if (component.back() == '.' || component.back() == ' ') return false;
  return std::none_of(component.begin(), component.end(), IsControl) &&
         FirstOf(rules, component, kForbidden) == std::string_view::npos && !IsDevice(component);
}

bool HasDriveLetter(std::string_view name) {
  return name.size() >= 2 && name[1] == ':' && IsLetter(name[0]);
}

}  // namespace

bool IsAllowedName(const PathRules& rules, std::string_view name) {
  if (!rules.is_windows) return true;
  if (HasDevicePrefix(rules, name)) return false;
  if (HasDriveLetter(name)) name.remove_prefix(2);
  for (;;) {
    const std::size_t length = std::min(FirstSeparator(rules, name), name.size());
    if (!IsAllowedComponent(rules, name.substr(0, length))) return false;
    if (length == name.size()) return true;
    name.remove_prefix(length + 1);
  }
}

bool IsShortcutName(const PathRules& rules, std::string_view name) {
  if (!rules.is_windows) return name.ends_with(kShortcutEnding);
  return UpperAscii(name).ends_with(UpperAscii(kShortcutEnding));
}

}  // namespace moldex

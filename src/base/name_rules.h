// The names that a system takes as they are. Windows does not refuse other names but takes them for
// something else: a device, a stream of another file, or the name without its last dots and blanks.
#ifndef MOLDEX_BASE_NAME_RULES_H_
#define MOLDEX_BASE_NAME_RULES_H_

#include <string_view>

#include "base/path_rules.h"

namespace moldex {

// Whether every component of a name, "." and ".." aside, can be the name of a file. On Windows a
// drive may come first, but neither "\\?\" nor "\\.\". POSIX takes every name.
bool IsAllowedName(const PathRules& rules, std::string_view name);

// Whether a name is that of a shortcut: it ends in ".lnk", on Windows in letters of any case.
bool IsShortcutName(const PathRules& rules, std::string_view name);

}  // namespace moldex

#endif  // MOLDEX_BASE_NAME_RULES_H_

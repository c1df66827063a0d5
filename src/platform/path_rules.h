// Names as text: what separates, what is absolute, what may be stored and what may be written.
//
// Pure functions with the rules of a system as an argument, so that the names of both systems are
// judged alike on both. Nothing here asks a file system.
#ifndef MOLDEX_PLATFORM_PATH_RULES_H_
#define MOLDEX_PLATFORM_PATH_RULES_H_

#include <string>
#include <string_view>

namespace moldex {

// "/" separates everywhere; "\" does on Windows only, where a drive and a stream name stand in
// front of and behind a ":" as well.
enum class PathRules { kPosix, kWindows };

bool IsSeparator(PathRules rules, char c);

// Position of the last separator, or npos.
std::size_t LastSeparator(PathRules rules, std::string_view path);

// The part behind the last separator.
std::string_view LastComponent(PathRules rules, std::string_view path);

// Every separator as "/".
std::string WithSlashes(PathRules rules, std::string_view path);

// A name that a target directory is put in front of: neither empty, nor "/", nor with ":" as its
// second character. (So "/a" is relative in this sense, and lands below the target directory.)
bool IsRelative(std::string_view name);

// A path that does not depend on the current directory.
bool IsAbsolutePath(PathRules rules, std::string_view path);

// Whether a component of the name is "..".
bool HasParentComponent(PathRules rules, std::string_view name);

// Whether a symbolic link of this name and target may lead out of the directory that the name is
// relative to: by an absolute target, by more ".." than there are directories to leave, or by a
// ".." behind another component, which may be a link itself and lead elsewhere than its name says.
bool LinkLeaves(PathRules rules, std::string_view name, std::string_view target);

// `directory`, "/" unless one stands there already, `name`; an empty part yields the other one.
std::string JoinPath(std::string_view directory, std::string_view name);

// The name that an entry of this disk name gets in an archive: "/" as separator, no separator at
// the end, and, unless absolute names are kept, neither a drive nor a "/" in front. May be empty
// ("/" itself).
std::string StoredName(PathRules rules, std::string_view disk_name, bool keep_absolute);

// Where an entry is written: below `target_directory` when that is not empty and the name is
// relative. On Windows what stands up to the first ":" of a relative name is dropped.
std::string TargetName(PathRules rules, std::string_view target_directory, std::string_view name);

// One spelling for every way to write a name, for comparing: "/" as separator, no "." components,
// no repeated or trailing separators.
std::string NormalisedName(PathRules rules, std::string_view name);

// Whether a name holds "*" or "?".
bool HasWildcard(std::string_view name);

// Whether a whole name matches: "*" stands for any string, "?" for one character. A "." that
// begins the name is matched by a "." only.
bool MatchesPattern(std::string_view pattern, std::string_view name);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_PATH_RULES_H_

// Names as text: separators, absolute paths, the name that is stored and the path that is written.
//
// Pure functions that take the rules of a system as an argument, so that both systems' names are
// judged alike on both. Nothing here asks a file system. Names are in the local code page.
#ifndef MOLDEX_BASE_PATH_RULES_H_
#define MOLDEX_BASE_PATH_RULES_H_

#include <string>
#include <string_view>

#include "base/ascii.h"

namespace moldex {

// How one system reads the bytes of a name.
struct PathRules {
  // "/" separates everywhere. On Windows "\" does, too, and ":" sets off a drive and the name of a
  // stream.
  bool is_windows = false;
  // Whether a byte begins a character of two bytes, the second of which may look like "\", "|" or a
  // letter. Null for a code page without such characters.
  bool (*begins_double_byte)(char byte) = nullptr;
  // The form, in UTF-8, in which all spellings of one name are equal. Null where names of different
  // bytes are different names.
  std::string (*fold)(std::string_view name) = nullptr;

  // The rules of a POSIX system, and those of Windows as far as they need no code page: only ASCII
  // letters are folded.
  static const PathRules kPosix;
  static const PathRules kWindows;
};

inline constexpr PathRules PathRules::kPosix{};
inline constexpr PathRules PathRules::kWindows{true, nullptr, UpperAscii};

// Whether a character of one byte is a separator. `c` may also be the first byte of any character,
// but not the second: that one can look like a separator.
bool IsSeparator(const PathRules& rules, char c);

// Position of the first of several ASCII characters, or npos. The second byte of a character counts
// as none of them. `from` is the start of a character.
std::size_t FirstOf(const PathRules& rules, std::string_view text, std::string_view wanted,
                    std::size_t from = 0);

// Position of the first separator at or after `from`, and of the last one; or npos.
std::size_t FirstSeparator(const PathRules& rules, std::string_view path, std::size_t from = 0);
std::size_t LastSeparator(const PathRules& rules, std::string_view path);

bool EndsWithSeparator(const PathRules& rules, std::string_view path);

// The part after the last separator.
std::string_view LastComponent(const PathRules& rules, std::string_view path);

// Every separator as "/".
std::string WithSlashes(const PathRules& rules, std::string_view path);

// Whether a target directory is put before the name: it is not empty, not "/", and its second
// character is not ":". ("/a" is relative in this sense, and lands below the target directory.)
bool IsRelative(std::string_view name);

// Whether a name begins like a path that Windows passes on without parsing it: "\\?\" or "\\.\",
// with separators of either kind. Such a path can lead to any device.
bool HasDevicePrefix(const PathRules& rules, std::string_view name);

// A path that does not depend on the current directory.
bool IsAbsolutePath(const PathRules& rules, std::string_view path);

// Whether a component of the name is "..".
bool HasParentComponent(const PathRules& rules, std::string_view name);

// Whether a symbolic link of this name and target may lead out of the directory that the name is
// relative to: by an absolute target, by more ".." than there are directories to leave, or by a
// ".." after another component, which may be a link itself and lead anywhere.
bool LinkLeaves(const PathRules& rules, std::string_view name, std::string_view target);

// `directory` and `name` with one "/" between them. If one is empty, the other one alone.
std::string JoinPath(std::string_view directory, std::string_view name);

// The name that an entry of this disk name gets in an archive. Its separator is "/", and none is at
// its end. Unless absolute names are kept, it has no "/" at the start and, on Windows, no drive and
// no "\\?\", "\\.\" or "\\?\UNC\". May be empty (for "/" itself).
std::string StoredName(const PathRules& rules, std::string_view disk_name, bool keep_absolute);

// The part of an entry's name that follows a target directory: the whole name, but on Windows a
// relative name loses everything up to its first ":".
std::string_view NameBelowTarget(const PathRules& rules, std::string_view name);

// The path that an entry is written to: NameBelowTarget in `target_directory` if that is not empty
// and the name is relative; otherwise the name unchanged.
std::string TargetName(const PathRules& rules, std::string_view target_directory,
                       std::string_view name);

// One spelling for every way to write a name, for comparing: "/" as separator, no "." components,
// no repeated or trailing separators.
std::string NormalisedName(const PathRules& rules, std::string_view name);

// NormalisedName in a form that is equal for all its spellings, with "/" as separator.
std::string ComparableName(const PathRules& rules, std::string_view name);

// The text with the letters "A" to "Z" in lower case, second bytes of a character left alone.
std::string LowerAscii(const PathRules& rules, std::string_view text);

// Whether a name can only be that of a directory: it ends in a separator, "." or "..".
bool NamesADirectory(const PathRules& rules, std::string_view name);

// Whether a name holds "*" or "?".
bool HasWildcard(std::string_view name);

// Whether a whole name matches: "*" stands for any string, "?" for one character. A "." that begins
// the name is matched by a "." only. On Windows case is ignored, and "*.*" means "*".
bool MatchesPattern(const PathRules& rules, std::string_view pattern, std::string_view name);

}  // namespace moldex

#endif  // MOLDEX_BASE_PATH_RULES_H_

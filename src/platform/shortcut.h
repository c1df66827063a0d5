// Shell shortcuts: files ".lnk" that stand for another file or directory. Only Windows has them; to
// other systems they are files like any other.
#ifndef MOLDEX_PLATFORM_SHORTCUT_H_
#define MOLDEX_PLATFORM_SHORTCUT_H_

#include <string>

namespace moldex {

enum class ShortcutKind { kPlainFile, kNoTarget, kTarget };

struct Shortcut {
  ShortcutKind kind = ShortcutKind::kPlainFile;
  std::string target;  // full path with "/" as separator; set with kTarget
};

// What the shortcut `path` points to. kNoTarget when that does not exist, or when the file is no
// shortcut but in its name. Asks nobody and searches for nothing. What has no form in the local
// code page comes as "?" in the target, so that no object is found under it.
Shortcut ResolveShortcut(const std::string& path);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SHORTCUT_H_

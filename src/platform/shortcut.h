// Shell shortcuts: files ".lnk" that stand for another file or directory. Only Windows has them; on
// other systems they are ordinary files.
#ifndef MOLDEX_PLATFORM_SHORTCUT_H_
#define MOLDEX_PLATFORM_SHORTCUT_H_

#include <string>

namespace moldex {

enum class ShortcutKind { kPlainFile, kNoTarget, kTarget };

struct Shortcut {
  ShortcutKind kind = ShortcutKind::kPlainFile;
  std::string target;  // full path with "/" as separator; set with kTarget
};

// Finds the object that the shortcut `path` points to. kNoTarget when that object does not exist,
// and when the file is a shortcut by its name alone. Opens no window and searches for nothing. A
// character without a form in the local code page becomes "?" in the target, so that no object is
// found there.
Shortcut ResolveShortcut(const std::string& path);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SHORTCUT_H_

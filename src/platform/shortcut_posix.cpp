#include "platform/shortcut.h"

namespace moldex {

Shortcut ResolveShortcut(const std::string& /*path*/) { return {}; }

}  // namespace moldex

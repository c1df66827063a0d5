// The form of a path that Windows takes as it stands, however long it is: "\\?\" in front of an
// absolute path with "\" as separator. In long-name mode every path goes to the system in this
// form.
#ifndef MOLDEX_PLATFORM_LONG_NAME_H_
#define MOLDEX_PLATFORM_LONG_NAME_H_

#include <string>
#include <string_view>

namespace moldex {

// Whether this run is in long-name mode. Off at start. Systems without such a form ignore it.
void SetLongNameMode(bool on);
bool LongNameMode();

// The long-name form of a path. A relative one (path_rules.h) lies below `current_directory`, a
// Windows path with a drive or of a network share. After the prefix the system resolves nothing
// any more, so "." and ".." components and repeated separators are resolved here. A path that has
// the prefix already stays as it is, and an empty one stays empty; "//?/" and "\\.\" become the
// prefix.
std::wstring LongNameForm(std::wstring_view path, std::wstring_view current_directory);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_LONG_NAME_H_

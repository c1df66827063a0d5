// Shared by the Win32 sources of this module only: the one place where text in the local code page
// becomes the wide text of the system's calls, and comes back.
//
// No character is converted to one that only looks like it, because that would name another file.
#ifndef MOLDEX_PLATFORM_LOCAL_TEXT_WIN32_H_
#define MOLDEX_PLATFORM_LOCAL_TEXT_WIN32_H_

#include <optional>
#include <string>
#include <string_view>

namespace moldex {

// Empty when the bytes are no text in the local code page; the error is in GetLastError and errno.
std::optional<std::wstring> ToWide(std::string_view local);

// The same for UTF-8, whatever the local code page is.
std::optional<std::wstring> Utf8ToWide(std::string_view utf8);

// Empty when a character has no form in the local code page, with the same errors.
std::optional<std::string> ToLocal(std::wstring_view wide);

// The same for a reader: "?" stands for every character without a form. No file has such a name.
std::string ToReadable(std::wstring_view wide);

// PathRules::begins_double_byte for the local code page; null where that has no such characters.
using ByteTest = bool (*)(char byte);
ByteTest DoubleByteTest();

// PathRules::fold as the file system compares names: every character in upper case, by the system's
// table and whatever the user's language is. Text that cannot be converted stays as it is.
std::string FoldAsTheSystem(std::string_view local);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_LOCAL_TEXT_WIN32_H_

#include "platform/local_text_win32.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>

#include "base/ascii.h"

namespace moldex {
namespace {

constexpr wchar_t kFirstHighSurrogate = 0xD800;
constexpr wchar_t kFirstLowSurrogate = 0xDC00;
constexpr wchar_t kAfterSurrogates = 0xE000;

// The process's ANSI code page: UTF-8 where the system heeds the program's manifest.
UINT LocalCodePage() {
  static const UINT code_page = GetACP();
  return code_page;
}

// Sets both kinds of error, because some callers look at the one and some at the other.
void SetNoForm() {
  SetLastError(ERROR_NO_UNICODE_TRANSLATION);
  errno = EILSEQ;
}

// The text in another code page; empty when a character has no form there. UTF-8 has a form for all
// but half of a surrogate pair, and takes other flags.
std::optional<std::string> Narrowed(UINT code_page, std::wstring_view wide) {
  if (wide.empty()) return std::string();
  const bool is_utf8 = code_page == CP_UTF8;
  const DWORD flags = is_utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
  const int count = static_cast<int>(wide.size());
  BOOL replaced = FALSE;
  BOOL* const asked = is_utf8 ? nullptr : &replaced;
  int length =
      WideCharToMultiByte(code_page, flags, wide.data(), count, nullptr, 0, nullptr, asked);
  std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
  if (length > 0 && replaced == FALSE) {
    length = WideCharToMultiByte(code_page, flags, wide.data(), count, text.data(), length, nullptr,
                                 asked);
    if (length > 0 && replaced == FALSE) return text;
  }
  SetNoForm();
  return std::nullopt;
}

std::optional<std::wstring> Widened(UINT code_page, std::string_view text) {
  if (text.empty()) return std::wstring();
  const int count = static_cast<int>(text.size());
  const int length =
      MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(), count, nullptr, 0);
  if (length <= 0) {
    SetNoForm();
    return std::nullopt;
  }
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(), count, wide.data(), length);
  return wide;
}

// Units of the first character: two for a surrogate pair.
std::size_t UnitsOfFirst(std::wstring_view text) {
  const bool high = text[0] >= kFirstHighSurrogate && text[0] < kFirstLowSurrogate;
  return high && text.size() > 1 && text[1] >= kFirstLowSurrogate && text[1] < kAfterSurrogates ? 2
                                                                                                : 1;
}

bool BeginsDoubleByte(char byte) { return IsDBCSLeadByte(static_cast<BYTE>(byte)) != FALSE; }

}  // namespace

std::optional<std::wstring> ToWide(std::string_view local) {
  return Widened(LocalCodePage(), local);
}

std::optional<std::wstring> Utf8ToWide(std::string_view utf8) { return Widened(CP_UTF8, utf8); }

std::optional<std::string> ToLocal(std::wstring_view wide) {
  return Narrowed(LocalCodePage(), wide);
}

std::string ToReadable(std::wstring_view wide) {
  if (auto local = ToLocal(wide)) return *local;
  std::string readable;
  while (!wide.empty()) {
    const std::size_t units = UnitsOfFirst(wide);
    readable += ToLocal(wide.substr(0, units)).value_or("?");
    wide.remove_prefix(units);
  }
  return readable;
}

ByteTest DoubleByteTest() {
  CPINFO info{};
  const bool known = GetCPInfo(LocalCodePage(), &info) != FALSE;
  return known && info.MaxCharSize == 2 ? BeginsDoubleByte : nullptr;
}

std::string FoldAsTheSystem(std::string_view local) {
  if (IsAscii(local)) return UpperAscii(local);
  const auto wide = ToWide(local);
  if (!wide) return std::string(local);
  const int count = static_cast<int>(wide->size());
  std::wstring upper(wide->size(), L'\0');  // one unit becomes one unit
  if (LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, wide->data(), count, upper.data(),
                    count, nullptr, nullptr, 0) != count) {
    return std::string(local);
  }
  return Narrowed(CP_UTF8, upper).value_or(std::string(local));
}

}  // namespace moldex

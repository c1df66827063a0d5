// ASCII letters, digits and blanks, independent of the locale. Other bytes are none of these and
// stay as they are.
#ifndef MOLDEX_BASE_ASCII_H_
#define MOLDEX_BASE_ASCII_H_

#include <string>
#include <string_view>

namespace moldex {

inline constexpr std::string_view kBlanks = " \t\r\v\f";

constexpr bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }
bool IsAscii(std::string_view text);

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsUpperAscii(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool IsLowerAscii(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool IsLetter(char c) { return IsUpperAscii(c) || IsLowerAscii(c); }

constexpr char ToUpperAscii(char c) {
  return IsLowerAscii(c) ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char ToLowerAscii(char c) {
  return IsUpperAscii(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string UpperAscii(std::string_view text);
std::string LowerAscii(std::string_view text);

// The text without the blanks around it.
std::string_view Trimmed(std::string_view text);

}  // namespace moldex

#endif  // MOLDEX_BASE_ASCII_H_

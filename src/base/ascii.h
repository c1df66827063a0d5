// Helpers for text whose syntax is ASCII.
#ifndef MOLDEX_BASE_ASCII_H_
#define MOLDEX_BASE_ASCII_H_

#include <string_view>

namespace moldex {

inline constexpr std::string_view kBlanks = " \t\r\v\f";

// The text without the blanks around it.
inline std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace moldex

#endif  // MOLDEX_BASE_ASCII_H_

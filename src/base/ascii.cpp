#include "base/ascii.h"

#include <algorithm>

namespace moldex {
namespace {

std::string Changed(std::string_view text, char (*change)(char)) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), change);
  return result;
}

}  // namespace

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return IsAscii(c); });
}

std::string UpperAscii(std::string_view text) { return Changed(text, ToUpperAscii); }

std::string LowerAscii(std::string_view text) { return Changed(text, ToLowerAscii); }

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace moldex

#include "base/utf8.h"

#include <algorithm>

#include "base/ascii.h"

namespace moldex {
namespace {

// The smallest code point that needs a sequence of so many bytes.
constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};

}  // namespace

std::size_t Utf8Length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;  // continues one, or could only begin a forbidden one
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

bool Utf8Sequence::IsValid() const {
  const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  return bytes > 0 && code >= kSmallest[bytes] && code <= 0x10FFFF && !is_surrogate;
}

Utf8Sequence FirstUtf8Sequence(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = Utf8Length(lead);
  if (length == 1) return {1, lead};
  if (length == 0 || text.size() < length) return {};
  char32_t code = lead & (0x7Fu >> length);
  for (const char c : text.substr(1, length - 1)) {
    if (!ContinuesUtf8(c)) return {};
    code = code << 6 | (static_cast<unsigned char>(c) & 0x3F);
  }
  return {length, code};
}

std::size_t ValidUtf8Prefix(std::string_view text) {
  const auto ascii_end =
      std::find_if_not(text.begin(), text.end(), [](char c) { return IsAscii(c); });
  auto position = static_cast<std::size_t>(ascii_end - text.begin());
  while (position < text.size()) {
    const Utf8Sequence sequence = FirstUtf8Sequence(text.substr(position));
    if (!sequence.IsValid()) break;
    position += sequence.bytes;
  }
  return position;
}

}  // namespace moldex

#include "codepage/name_conversion.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "codepage/code_page.h"

namespace moldex {
namespace {

// Bytes of the character that `lead` begins, and the smallest code point that needs so many; 0 for
// a byte that begins none.
struct Utf8Form {
  std::size_t length = 0;
  std::uint32_t smallest = 0;
};

Utf8Form FormOf(unsigned char lead) {
  if (lead < 0x80) return {1, 0};
  if (lead >= 0xC0 && lead < 0xE0) return {2, 0x80};
  if (lead >= 0xE0 && lead < 0xF0) return {3, 0x800};
  if (lead >= 0xF0 && lead < 0xF8) return {4, 0x10000};
  return {};
}

// Length of the character at the start of `text`; 0 when it is not valid.
std::size_t ValidCharacter(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const Utf8Form form = FormOf(lead);
  if (form.length <= 1) return form.length;
  if (text.size() < form.length) return 0;
  std::uint32_t code_point = lead & (0x7Fu >> form.length);
  for (std::size_t i = 1; i < form.length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) != 0x80) return 0;
    code_point = code_point << 6 | (byte & 0x3F);
  }
  const bool surrogate = code_point >= 0xD800 && code_point <= 0xDFFF;
  const bool valid = code_point >= form.smallest && code_point <= 0x10FFFF && !surrogate;
  return valid ? form.length : 0;
}

Converted Convert(Direction direction, std::string_view input, std::span<char> output) {
  if (!LocalIsUtf8()) return ConvertThroughSystem(direction, input, output);
  std::size_t bytes = ValidUtf8Prefix(input);
  if (bytes > output.size()) bytes = ValidUtf8Prefix(input.substr(0, output.size()));
  std::memmove(output.data(), input.data(), bytes);
  return {bytes == input.size(), bytes};
}

void Terminate(char* output, std::size_t bytes, std::int32_t* written) {
  output[bytes] = '\0';
  if (written != nullptr) *written = static_cast<std::int32_t>(bytes);
}

}  // namespace

std::size_t ValidUtf8Prefix(std::string_view text) {
  const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  auto position =
      static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_ascii) - text.begin());
  while (position < text.size()) {
    const std::size_t length = ValidCharacter(text.substr(position));
    if (length == 0) break;
    position += length;
  }
  return position;
}

void ConvertLocalToUtf8(char* output, std::int32_t output_size, std::int32_t* written,
                        const char* input) {
  const std::span<char> room(output, static_cast<std::size_t>(output_size) - 1);
  Terminate(output, Convert(Direction::kToUtf8, input, room).bytes, written);
}

int ConvertUtf8ToLocal(char* output, std::int32_t output_size, std::int32_t* written,
                       const char* input) {
  std::string scratch(static_cast<std::size_t>(output_size) - 1, '\0');
  const std::string_view text(input);
  Converted converted{false, 0};
  if (ValidUtf8Prefix(text) == text.size()) converted = Convert(Direction::kToLocal, text, scratch);
  const std::size_t bytes = converted.complete ? converted.bytes : 0;
  std::memcpy(output, scratch.data(), bytes);
  Terminate(output, bytes, written);
  return converted.complete ? 0 : 1;
}

}  // namespace moldex

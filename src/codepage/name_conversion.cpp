#include "codepage/name_conversion.h"

#include <cstring>
#include <string>

#include "base/utf8.h"
#include "codepage/code_page.h"

namespace moldex {
namespace {

// Input and output may overlap. The system's converters do not allow that.
Converted Convert(Direction direction, std::string_view input, std::span<char> output) {
  if (!LocalIsUtf8()) return ConvertThroughSystem(direction, std::string(input), output);
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

void ConvertLocalToUtf8(char* output, std::int32_t output_size, std::int32_t* written,
                        const char* input) {
  const std::span<char> space(output, static_cast<std::size_t>(output_size) - 1);
  Terminate(output, Convert(Direction::kToUtf8, input, space).bytes, written);
}

int ConvertUtf8ToLocal(char* output, std::int32_t output_size, std::int32_t* written,
                       const char* input) {
  const std::span<char> space(output, static_cast<std::size_t>(output_size) - 1);
  const std::string_view text(input);
  Converted converted{false, 0};
  if (ValidUtf8Prefix(text) == text.size()) converted = Convert(Direction::kToLocal, text, space);
  Terminate(output, converted.complete ? converted.bytes : 0, written);
  return converted.complete ? 0 : 1;
}

}  // namespace moldex

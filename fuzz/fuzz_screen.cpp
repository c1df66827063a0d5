// Any bytes as text on a terminal, in the locale of the environment: the terminal gets no control
// characters, and all other characters are unchanged.
#include <clocale>
#include <cwchar>
#include <string>

#include "fuzz/target.h"
#include "report/screen_text.h"

namespace moldex::fuzz {
namespace {

[[maybe_unused]] const char* const locale = std::setlocale(LC_CTYPE, "");

// Control characters, and those that turn the direction of writing.
bool IsObeyed(wchar_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

// Reads the text as a terminal of this locale does, which passes over bytes that are no character.
bool IsHarmless(std::string_view text) {
  while (!text.empty()) {
    std::mbstate_t state{};
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (length == 0 || (length <= text.size() && IsObeyed(character))) return false;
    text.remove_prefix(length <= text.size() ? length : 1);
  }
  return true;
}

}  // namespace

// The columns of a terminal, then the text.
void TryInput(ByteSpan input) {
  if (input.empty()) return;
  const std::string text(input.begin() + 1, input.end());
  const std::string escaped = Escaped(text);
  Require(IsHarmless(escaped));
  Require(!HasControls(escaped) && Escaped(escaped) == escaped);
  Require(HasControls(text) == (escaped != text));
  const ScreenText cut = CutToColumns(text, input[0]);
  Require(cut.columns <= input[0] && text.starts_with(cut.text));
  Require(CutToColumns(text, 2 * text.size()).text == text);
  Require(Escaped(std::string(cut.text) + text.substr(cut.text.size())) == escaped);
}

}  // namespace moldex::fuzz

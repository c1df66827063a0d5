#include "report/screen_text.h"

#include <algorithm>

#include "report/console.h"

namespace moldex {
namespace {

// Bytes of the first character: those of one in UTF-8, else one.
std::size_t CharacterLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0xC2 || lead > 0xF4) return 1;
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  const std::string_view rest = text.substr(1, length - 1);
  return rest.size() == length - 1 && std::all_of(rest.begin(), rest.end(), continues) ? length : 1;
}

// The first character and its columns. None that UTF-8 has two bytes for is wider than one column,
// and none at all wider than two.
ScreenText FirstCharacter(std::string_view text) {
  if (static_cast<unsigned char>(text[0]) < 0x80) return {text.substr(0, 1), 1};
  const std::size_t double_bytes = DoubleByteLength(text);
  if (double_bytes != 0) return {text.substr(0, double_bytes), double_bytes};
  const std::size_t length = CharacterLength(text);
  return {text.substr(0, length), length < 3 ? std::size_t{1} : std::size_t{2}};
}

// The second set of control characters is one byte long in 8-bit code pages and two in UTF-8; those
// of double bytes have letters there.
bool IsControl(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  if (lead < 0x80) return lead < 0x20 || lead == 0x7F;
  if (!TerminalHasHighControls() || DoubleByteLength(character) > 1) return false;
  if (character.size() == 1) return lead >= 0x80 && lead < 0xA0;
  return lead == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

// Takes the first character off.
std::string_view TakeCharacter(std::string_view* text) {
  const std::string_view character = FirstCharacter(*text).text;
  text->remove_prefix(character.size());
  return character;
}

}  // namespace

bool HasControls(std::string_view text) {
  // Most lines are of characters that no code page doubts.
  const auto is_plain = [](char c) { return c >= 0x20 && c < 0x7F; };
  text.remove_prefix(static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_plain) -
                                              text.begin()));
  while (!text.empty()) {
    if (IsControl(TakeCharacter(&text))) return true;
  }
  return false;
}

std::string Escaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::string_view character = TakeCharacter(&text);
    if (!IsControl(character)) {
      result += character;
      continue;
    }
    for (const char c : character) {
      const auto byte = static_cast<unsigned char>(c);
      result += {'\\', static_cast<char>('0' + (byte >> 6)),
                 static_cast<char>('0' + (byte >> 3 & 7)), static_cast<char>('0' + (byte & 7))};
    }
  }
  return result;
}

ScreenText CutToColumns(std::string_view text, std::size_t columns) {
  ScreenText cut;
  std::size_t taken = 0;
  while (taken < text.size()) {
    const ScreenText character = FirstCharacter(text.substr(taken));
    if (cut.columns + character.columns > columns) break;
    cut.columns += character.columns;
    taken += character.text.size();
  }
  cut.text = text.substr(0, taken);
  return cut;
}

}  // namespace moldex

#include "report/screen_text.h"

#include <algorithm>

#include "base/utf8.h"
#include "report/console.h"

namespace moldex {
namespace {

struct Character {
  std::string_view text;
  char32_t code = 0;  // the byte itself where that is no part of a character
  std::size_t columns = 1;
};

// A character of two bytes is never wider than one column, and no character is wider than two.
Character FirstInUtf8(std::string_view text) {
  const Utf8Sequence sequence = FirstUtf8Sequence(text);
  if (sequence.bytes == 0) return {text.substr(0, 1), static_cast<unsigned char>(text[0])};
  return {text.substr(0, sequence.bytes), sequence.code,
          sequence.bytes < 3 ? std::size_t{1} : std::size_t{2}};
}

// In a code page of one- and two-byte characters, a character has as many columns as bytes.
Character FirstCharacter(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return {text.substr(0, 1), first};
  const CodePageCharacter local = FirstInCodePage(text);
  if (local.bytes == 0) return FirstInUtf8(text);
  return {text.substr(0, local.bytes), local.code, local.bytes};
}

// Characters that change the direction of the text after them. With them a name could look like
// another one.
bool ChangesDirection(char32_t code) {
  return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

bool IsControl(const Character& character) {
  const char32_t code = character.code;
  if (code < 0x20 || code == 0x7F || ChangesDirection(code)) return true;
  return code >= 0x80 && code < 0xA0 && TerminalHasHighControls();
}

// Takes the first character off.
Character TakeCharacter(std::string_view* text) {
  const Character character = FirstCharacter(*text);
  text->remove_prefix(character.text.size());
  return character;
}

}  // namespace

bool HasControls(std::string_view text) {
  // Most lines consist of characters that are the same in every code page.
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
    const Character character = TakeCharacter(&text);
    if (!IsControl(character)) {
      result += character.text;
      continue;
    }
    for (const char c : character.text) {
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
    const Character character = FirstCharacter(text.substr(taken));
    if (cut.columns + character.columns > columns) break;
    cut.columns += character.columns;
    taken += character.text.size();
  }
  cut.text = text.substr(0, taken);
  return cut;
}

}  // namespace moldex

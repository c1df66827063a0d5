#include "report/output.h"

#include <algorithm>
#include <cstdio>

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

// The second set of control characters is one byte long in 8-bit code pages and two in UTF-8.
bool IsControl(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  if (lead < 0x20 || lead == 0x7F) return true;
  if (!TerminalHasHighControls()) return false;
  if (character.size() == 1) return lead >= 0x80 && lead < 0xA0;
  return lead == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

// Takes the first character off.
std::string_view TakeCharacter(std::string_view* text) {
  const std::string_view character = text->substr(0, CharacterLength(*text));
  text->remove_prefix(character.size());
  return character;
}

bool HasControls(std::string_view text) {
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

}  // namespace

void WriteOutput(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

std::string Shown(const std::string& line) {
  return HasControls(line) && OutputIsTerminal() ? Escaped(line) : line;
}

void WriteShown(std::string_view text) {
  if (HasControls(text)) {
    WriteOutput(Shown(std::string(text)));
  } else {
    WriteOutput(text);
  }
}

void EndLine() {
  static const bool is_terminal = OutputIsTerminal();
  WriteOutput("\n");
  if (is_terminal) FlushOutput();
}

void FlushOutput() { std::fflush(stdout); }

bool OutputFailed() { return std::ferror(stdout) != 0; }

}  // namespace moldex

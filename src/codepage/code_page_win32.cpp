#include <windows.h>

#include <algorithm>
#include <array>

#include "codepage/code_page.h"

namespace moldex {
namespace {

// The process's ANSI code page: UTF-8 where the system heeds the program's manifest.
UINT LocalCodePage() {
  static const UINT code_page = GetACP();
  return code_page;
}

// Characters are converted one at a time, so that those before the first one without a counterpart
// are converted and none after it.
constexpr int kLongestWide = 2;   // a surrogate pair
constexpr int kLongestBytes = 8;  // GB 18030 needs 4, and so does UTF-8

struct Character {
  std::size_t taken = 0;  // bytes of input; 0 when the character is not valid
  std::array<wchar_t, kLongestWide> wide{};
  int wide_length = 0;
};

// The shortest start of the input that is a character by itself.
Character TakeCharacter(UINT code_page, std::string_view input) {
  Character character;
  const std::size_t most = std::min<std::size_t>(input.size(), 4);
  for (std::size_t length = 1; length <= most; ++length) {
    character.wide_length =
        MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, input.data(), static_cast<int>(length),
                            character.wide.data(), kLongestWide);
    if (character.wide_length > 0) {
      character.taken = length;
      break;
    }
  }
  return character;
}

// Its bytes in the other code page; 0 when it has none there. UTF-8 has them all, and the system
// takes no flags with it.
int PutCharacter(UINT code_page, const Character& character, std::array<char, kLongestBytes>* out) {
  BOOL replaced = FALSE;
  const bool is_utf8 = code_page == CP_UTF8;
  const int length = WideCharToMultiByte(code_page, is_utf8 ? 0 : WC_NO_BEST_FIT_CHARS,
                                         character.wide.data(), character.wide_length, out->data(),
                                         kLongestBytes, nullptr, is_utf8 ? nullptr : &replaced);
  return replaced != FALSE ? 0 : length;
}

}  // namespace

bool LocalIsUtf8() { return LocalCodePage() == CP_UTF8; }

Converted ConvertThroughSystem(Direction direction, std::string_view input,
                               std::span<char> output) {
  const UINT from = direction == Direction::kToUtf8 ? LocalCodePage() : CP_UTF8;
  const UINT to = direction == Direction::kToUtf8 ? CP_UTF8 : LocalCodePage();
  std::size_t written = 0;
  while (!input.empty()) {
    const Character character = TakeCharacter(from, input);
    std::array<char, kLongestBytes> bytes{};
    const int length = character.taken == 0 ? 0 : PutCharacter(to, character, &bytes);
    const auto count = static_cast<std::size_t>(length);
    if (length <= 0 || count > output.size() - written) return {false, written};
    std::copy_n(bytes.data(), count, output.data() + written);
    written += count;
    input.remove_prefix(character.taken);
  }
  return {true, written};
}

}  // namespace moldex

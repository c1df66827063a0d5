#include <iconv.h>
#include <langinfo.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "codepage/code_page.h"

namespace moldex {
namespace {

// The character set of "C" and "POSIX" is ASCII, which each C library names in its own way. But the
// names on disk are UTF-8 as everywhere else on the system.
bool IsUtf8Codeset(std::string_view codeset) {
  constexpr std::string_view kUtf8OrAscii[] = {"UTF-8", "ANSI_X3.4-1968", "US-ASCII", "ASCII"};
  return std::ranges::find(kUtf8OrAscii, codeset) != std::end(kUtf8OrAscii);
}

iconv_t OpenConverter(Direction direction) {
  const char* local = nl_langinfo(CODESET);
  return direction == Direction::kToUtf8 ? iconv_open("UTF-8", local) : iconv_open(local, "UTF-8");
}

// Both converters live as long as the process.
iconv_t Converter(Direction direction) {
  static const iconv_t to_utf8 = OpenConverter(Direction::kToUtf8);
  static const iconv_t to_local = OpenConverter(Direction::kToLocal);
  return direction == Direction::kToUtf8 ? to_utf8 : to_local;
}

}  // namespace

bool LocalIsUtf8() {
  static const bool is_utf8 = IsUtf8Codeset(nl_langinfo(CODESET));
  return is_utf8;
}

Converted ConvertThroughSystem(Direction direction, std::string_view input,
                               std::span<char> output) {
  const iconv_t converter = Converter(direction);
  if (converter == reinterpret_cast<iconv_t>(-1)) return {};  // NOLINT: as iconv_open reports it
  iconv(converter, nullptr, nullptr, nullptr, nullptr);       // back to the initial state
  std::string source(input);                                  // iconv wants it writable
  char* in = source.data();
  std::size_t in_left = source.size();
  char* out = output.data();
  std::size_t out_left = output.size();
  const std::size_t irreversible = iconv(converter, &in, &in_left, &out, &out_left);
  return {in_left == 0 && irreversible == 0, output.size() - out_left};
}

}  // namespace moldex

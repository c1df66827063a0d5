// The system's converter between the local code page and UTF-8: iconv, or the calls of Windows.
// Only name_conversion.h uses it; other modules convert names through that.
#ifndef MOLDEX_CODEPAGE_CODE_PAGE_H_
#define MOLDEX_CODEPAGE_CODE_PAGE_H_

#include <cstddef>
#include <span>
#include <string_view>

namespace moldex {

enum class Direction { kToUtf8, kToLocal };

// The extent of a conversion.
struct Converted {
  bool complete = false;  // the whole input was converted
  std::size_t bytes = 0;  // written to the output
};

// Whether local names are UTF-8, so that nothing needs converting. Fixed at the first call.
bool LocalIsUtf8();

// Converts through the system, stopping at the first character that is invalid, has no
// counterpart or does not fit.
Converted ConvertThroughSystem(Direction direction, std::string_view input, std::span<char> output);

}  // namespace moldex

#endif  // MOLDEX_CODEPAGE_CODE_PAGE_H_

// Text for a terminal, in whole characters and without any that the terminal would obey.
//
// It knows UTF-8 and code pages of one- and two-byte characters, whichever the system uses for
// names.
#ifndef MOLDEX_REPORT_SCREEN_TEXT_H_
#define MOLDEX_REPORT_SCREEN_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace moldex {

// Whether the text holds characters that a terminal would obey instead of showing them: control
// characters, and those that change the direction of writing.
bool HasControls(std::string_view text);

// The text with those characters as octal escapes (\033).
std::string Escaped(std::string_view text);

struct ScreenText {
  std::string_view text;
  std::size_t columns = 0;  // as many as it takes, or a few more
};

// As much of the beginning of the text as fits into `columns` columns of a screen.
ScreenText CutToColumns(std::string_view text, std::size_t columns);

}  // namespace moldex

#endif  // MOLDEX_REPORT_SCREEN_TEXT_H_

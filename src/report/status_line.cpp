#include "report/status_line.h"

#include "report/console.h"
#include "report/output.h"
#include "report/screen_text.h"

namespace moldex {

CStatusLine::CStatusLine() : text_shares_screen_(TextMayReachScreen()) { shown_ = this; }

CStatusLine::~CStatusLine() {
  Erase();
  shown_ = nullptr;
}

// One column stays free, since some terminals begin a new line after the last column.
void CStatusLine::Draw(const std::string& text, std::size_t columns) {
  const std::string escaped = Escaped(text);
  const ScreenText part = CutToColumns(escaped, columns - 1);
  // Every terminal takes blanks. The eraser is made first: there may be no memory when it is
  // needed.
  std::string eraser = '\r' + std::string(part.columns, ' ') + '\r';
  WriteToErrorTerminal(std::string(EraserFor(columns)).append(part.text) + '\r');
  eraser_ = std::move(eraser);
}

void CStatusLine::Leave(const std::string& text, std::size_t columns) {
  Draw(text, columns);
  WriteToErrorTerminal("\n");
  eraser_.clear();
}

void CStatusLine::Erase() {
  interrupted_ = true;
  if (eraser_.empty()) return;
  const std::size_t columns = ErrorColumns();
  if (columns > 0) WriteToErrorTerminal(EraserFor(columns));
  eraser_.clear();
}

// The text that erases the line from a screen of `columns` columns. A terminal that has become
// narrower has either wrapped the rest of the line, with the cursor still in the first row, or cut
// it off. Blanks for the whole line would leave blank rows there.
std::string_view CStatusLine::EraserFor(std::size_t columns) const {
  constexpr std::string_view kEraseToEnd = "\r\x1B[J";
  const bool fits = eraser_.size() <= columns + 1;  // two of its characters are no blanks
  return fits || !ErrorObeysEscapes() ? std::string_view(eraser_) : kEraseToEnd;
}

}  // namespace moldex

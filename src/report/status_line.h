// A line on the terminal that standard error is. It is not part of the program's text.
//
// It is cut to the terminal's width and drawn over the previous line. It is erased before anything
// else is written there, and when its object is destroyed, unless it was left there. The cursor
// stays at its start.
#ifndef MOLDEX_REPORT_STATUS_LINE_H_
#define MOLDEX_REPORT_STATUS_LINE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace moldex {

// One at a time.
class CStatusLine {
 public:
  CStatusLine();
  ~CStatusLine();
  CStatusLine(const CStatusLine&) = delete;
  CStatusLine& operator=(const CStatusLine&) = delete;

  // Control characters are shown as escapes. `columns` is the terminal's width, at least 2.
  void Draw(const std::string& text, std::size_t columns);

  // Draws the line for the last time and moves the cursor to the next one.
  void Leave(const std::string& text, std::size_t columns);

  // Whether something else was written since the last call.
  bool TakeInterruption() { return std::exchange(interrupted_, false); }

  // Erases the line before the program writes text that may appear on the same screen.
  static void MakeWayForText() {
    if (shown_ != nullptr && shown_->text_shares_screen_) shown_->Erase();
  }
  // Erases the line before anything else is written to its terminal.
  static void MakeWayOnTerminal() {
    if (shown_ != nullptr) shown_->Erase();
  }

 private:
  void Erase();
  std::string_view EraserFor(std::size_t columns) const;

  static inline CStatusLine* shown_ = nullptr;

  bool text_shares_screen_;
  bool interrupted_ = false;
  std::string eraser_;  // takes the line off the screen; empty while there is none
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_STATUS_LINE_H_

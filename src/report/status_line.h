// A line on the terminal that standard error is, which is never part of what the program says.
//
// It is cut to the terminal's width, drawn over the one before, and gone before anything else is
// written there and when its object goes. The cursor stands at its start.
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

  // Whether something else was written since the last call.
  bool TakeInterruption() { return std::exchange(interrupted_, false); }

  // Takes the line off the screen before text of the program is written that may arrive there.
  static void MakeWayForText() {
    if (shown_ != nullptr && shown_->text_shares_screen_) shown_->Erase();
  }
  // The same before something else is written to the terminal where the line stands.
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

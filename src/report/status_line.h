// The line that tells somebody at a terminal how far long work has got:
//
//     21 %, 412.3 MB of 1.9 GB, 83.1 MB/s  docs/readme.txt
//
// It stands on standard error, and only where that is a terminal; it appears when the work has
// lasted a while without any output, is renewed a few times a second, and is gone before anything
// else is written and when the work ends. So it is never part of what the program says.
//
// Whoever works tells it what is being worked on and how much is done. Where there is no line, that
// costs a look at a flag. A call may ask for the time, and now and then draws.
#ifndef MOLDEX_REPORT_STATUS_LINE_H_
#define MOLDEX_REPORT_STATUS_LINE_H_

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace moldex {

// Allows the line while it lives; one at a time.
class CStatusLine {
 public:
  // Where standard error is no terminal, or with `wanted` false, there is none.
  explicit CStatusLine(bool wanted);
  ~CStatusLine();
  CStatusLine(const CStatusLine&) = delete;
  CStatusLine& operator=(const CStatusLine&) = delete;
};

namespace status_line {

enum class Unit { kBytes, kNames };

// Adds up what there is to do. May throw what ends the work.
using Count = std::function<std::uint64_t()>;

namespace internal {

inline bool on = false;

void SetTotal(std::uint64_t total, Unit unit);
void CountLater(Count count);
void Begin(std::uint64_t size);
void SetName(const std::string& name);
void Add(std::uint64_t amount);
void Reach(std::uint64_t position);
void AddCounted(std::uint64_t amount);
void Erase(bool in_any_case = false);

}  // namespace internal

// Whether there may be a line, so that it is worth finding out what to tell.
inline bool IsOn() { return internal::on; }

// How much there is to do in all; 0 when nobody knows.
inline void HasTotal(std::uint64_t total, Unit unit = Unit::kBytes) {
  if (internal::on) internal::SetTotal(total, unit);
}

// The same for a total that takes time to find: `count` is called when the line first appears,
// out of one of the calls below, and tells CountedMore how far it is.
inline void HasTotalOf(Count count) {
  if (internal::on) internal::CountLater(std::move(count));
}
inline void CountedMore(std::uint64_t amount) {
  if (internal::on) internal::AddCounted(amount);
}

// The name of what is being worked on.
inline void IsAt(const std::string& name) {
  if (internal::on) internal::SetName(name);
}

// That more is done.
inline void DidMore(std::uint64_t amount) {
  if (internal::on) internal::Add(amount);
}

// Work that goes through one part of the total after another: the size of the part that begins, and
// the place in it that was reached. Going back to its start makes nothing undone.
inline void BeginsPart(std::uint64_t size) {
  if (internal::on) internal::Begin(size);
}
inline void Reached(std::uint64_t position) {
  if (internal::on) internal::Reach(position);
}

// Before anything else is written to where the line may stand.
inline void MakeRoom() {
  if (internal::on) internal::Erase();
}
// Before something else is written to the terminal where it stands.
inline void MakeRoomOnTerminal() {
  if (internal::on) internal::Erase(true);
}

}  // namespace status_line

}  // namespace moldex

#endif  // MOLDEX_REPORT_STATUS_LINE_H_

#include "report/status_line.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <new>
#include <string_view>
#include <utility>

#include "report/console.h"
#include "report/output.h"
#include "report/screen_text.h"

namespace moldex {
namespace status_line {
namespace {

using Clock = std::chrono::steady_clock;

// Short work shows nothing; neither does work whose output comes in quick succession.
constexpr std::chrono::milliseconds kQuietTime{500};
constexpr std::chrono::milliseconds kInterval{100};

// Narrower terminals are left to the other numbers and the name.
constexpr std::size_t kColumnsForPercent = 60;

struct Progress {
  Clock::time_point start;
  Clock::time_point next_draw;
  bool output_shares_screen = true;
  bool output_came = false;  // since the last look at the clock
  Unit unit = Unit::kBytes;
  std::uint64_t total = 0;  // 0 while unknown
  std::uint64_t done = 0;
  std::uint64_t part_start = 0;  // of the part that is being worked on
  std::uint64_t part_size = 0;
  Count count;
  bool counting = false;
  std::uint64_t counted = 0;
  std::string name;
  std::string eraser;  // takes the line off the screen; empty while there is none
};

Progress progress;

std::string Amount(double value) {
  if (progress.unit == Unit::kNames) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.0f", value);
    return text.data();
  }
  constexpr std::array<const char*, 6> kUnits = {"B", "KB", "MB", "GB", "TB", "PB"};
  std::size_t unit = 0;
  for (; value >= 999.95 && unit + 1 < kUnits.size(); ++unit)
    value /= 1000;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", value, kUnits[unit]);
  return text.data();
}

std::string Amount(std::uint64_t value) { return Amount(static_cast<double>(value)); }

std::string Line(Clock::time_point now, std::size_t columns) {
  if (progress.counting) return "  counting, " + Amount(progress.counted) + " so far";
  const bool has_total = progress.total >= progress.done && progress.total > 0;
  std::string line = "  ";
  if (has_total && columns >= kColumnsForPercent) {
    const double part = static_cast<double>(progress.done) / static_cast<double>(progress.total);
    line += std::to_string(static_cast<int>(part * 100)) + " %, ";
  }
  line += Amount(progress.done);
  if (has_total) line += " of " + Amount(progress.total);
  if (progress.unit == Unit::kNames) return line + " names  " + progress.name;
  const double seconds = std::chrono::duration<double>(now - progress.start).count();
  return line + ", " + Amount(static_cast<double>(progress.done) / seconds) + "/s  " +
         progress.name;
}

// What takes the line off a screen of so many columns. One that has become narrower since then
// either put the line's rest into further lines, with the cursor still in the first, or cut it off:
// blanks for all of it would leave blank lines behind.
std::string_view EraserFor(std::size_t columns) {
  constexpr std::string_view kEraseToEnd = "\r\x1B[J";
  const bool fits = progress.eraser.size() <= columns + 1;  // two of it are no blanks
  return fits || !ErrorObeysEscapes() ? progress.eraser : kEraseToEnd;
}

// One column stays free, since some terminals begin a new line behind the last; and the cursor
// goes back to where whatever comes next begins.
void Draw(Clock::time_point now) {
  const std::size_t columns = ErrorColumns();
  if (columns < 2) return;
  const std::string line = Escaped(Line(now, columns));
  const ScreenText shown = CutToColumns(line, columns - 1);
  // Blanks do on every terminal. Made first, since there may be no memory when they are needed.
  std::string eraser = '\r' + std::string(shown.columns, ' ') + '\r';
  WriteToErrorTerminal(std::string(EraserFor(columns)).append(shown.text) + '\r');
  progress.eraser = std::move(eraser);
}

// The time that counting takes is not that of the work.
Clock::time_point CountFrom(Clock::time_point now) {
  const Count count = std::exchange(progress.count, nullptr);
  progress.counting = true;
  const std::uint64_t total = count();
  progress.counting = false;
  progress.total = total;
  const Clock::time_point end = Clock::now();
  progress.start += end - now;
  return end;
}

// Draws when it is time to.
void Look() {
  Clock::time_point now = Clock::now();
  if (std::exchange(progress.output_came, false)) progress.next_draw = now + kQuietTime;
  if (now < progress.next_draw) return;
  progress.next_draw = now + kInterval;
  if (progress.count) now = CountFrom(now);
  try {
    Draw(now);
  } catch (const std::bad_alloc&) {  // no line then: the work may well go on
  }
  progress.next_draw = now + kInterval;
}

}  // namespace

namespace internal {

void SetTotal(std::uint64_t total, Unit unit) {
  progress.total = total;
  progress.unit = unit;
}

void CountLater(Count count) { progress.count = std::move(count); }

// Behind a part whose size nobody knew, the next one begins where that one got to.
void Begin(std::uint64_t size) {
  const std::uint64_t end = progress.part_start + std::exchange(progress.part_size, size);
  progress.part_start = std::max(end, progress.done);
}

void SetName(const std::string& name) {
  progress.name = name;
  Look();
}

void Add(std::uint64_t amount) {
  progress.done += amount;
  Look();
}

void Reach(std::uint64_t position) {
  progress.done = std::max(progress.done, progress.part_start + position);
  Look();
}

void AddCounted(std::uint64_t amount) {
  progress.counted += amount;
  Look();
}

void Erase(bool in_any_case) {
  if (!progress.output_shares_screen && !in_any_case) return;
  progress.output_came = true;
  if (progress.eraser.empty()) return;
  const std::size_t columns = ErrorColumns();
  if (columns > 0) WriteToErrorTerminal(EraserFor(columns));
  progress.eraser.clear();
}

}  // namespace internal
}  // namespace status_line

CStatusLine::CStatusLine(bool wanted) {
  if (!wanted || !ErrorIsTerminal()) return;
  using status_line::progress;
  progress = {};
  progress.start = status_line::Clock::now();
  progress.next_draw = progress.start + status_line::kQuietTime;
  progress.output_shares_screen = TextMayReachScreen();
  status_line::internal::on = true;
}

CStatusLine::~CStatusLine() {
  if (!status_line::IsOn()) return;
  status_line::MakeRoomOnTerminal();
  status_line::internal::on = false;
}

}  // namespace moldex

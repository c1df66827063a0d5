#include "report/progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <new>
#include <utility>

#include "report/console.h"

namespace moldex {
namespace {

// Short work shows nothing; neither does work whose output comes in quick succession.
constexpr std::chrono::milliseconds kQuietTime{500};
constexpr std::chrono::milliseconds kInterval{100};

// On narrower terminals the percentage gives way to the other numbers and the name.
constexpr std::size_t kColumnsForPercent = 60;

std::string ByteCount(double value) {
  constexpr std::array<const char*, 6> kUnits = {"B", "KB", "MB", "GB", "TB", "PB"};
  std::size_t unit = 0;
  for (; value >= 999.95 && unit + 1 < kUnits.size(); ++unit)
    value /= 1000;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", value, kUnits[unit]);
  return text.data();
}

std::string Duration(double seconds) {
  constexpr double kMinute = 60;
  std::array<char, 64> text{};
  if (seconds < kMinute) {
    std::snprintf(text.data(), text.size(), "%.1f s", seconds);
  } else {
    const double minutes = std::floor(seconds / kMinute);
    std::snprintf(text.data(), text.size(), "%.0f min %d s", minutes,
                  static_cast<int>(seconds - minutes * kMinute));
  }
  return text.data();
}

// " (42.8 %)": the size of compressed data in relation to what they hold.
std::string Ratio(std::uint64_t packed, std::uint64_t unpacked) {
  if (unpacked == 0) return {};
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), " (%.1f %%)",
                100 * static_cast<double>(packed) / static_cast<double>(unpacked));
  return text.data();
}

}  // namespace

CShownProgress::CShownProgress(CProgress& progress, bool wanted) : progress_(progress) {
  if (wanted && ErrorIsTerminal()) progress.Show();
}

void CProgress::Show() {
  line_.emplace();
  start_ = Clock::now();
  next_draw_ = start_ + kQuietTime;
}

void CProgress::BeginWork(std::uint64_t total, Unit unit) {
  total_ = total;
  unit_ = unit;
  if (!std::exchange(counting_, false)) return;
  done_ = 0;
  start_ = Clock::now();
  next_draw_ = std::max(next_draw_, start_ + kInterval);  // a rate needs some time
}

// After a part of unknown size, the next one begins where that one ended.
void CProgress::NextPart(std::uint64_t size) {
  const std::uint64_t end = part_start_ + std::exchange(part_size_, size);
  part_start_ = std::max(end, done_);
}

void CProgress::MoveTo(std::uint64_t position) {
  done_ = std::max(done_, part_start_ + position);
  DrawIfDue();
}

void CProgress::DrawIfDue() {
  const Clock::time_point now = Clock::now();
  if (line_->TakeInterruption()) next_draw_ = now + kQuietTime;
  if (now < next_draw_) return;
  next_draw_ = now + kInterval;
  const std::size_t columns = ErrorColumns();
  if (columns < 2) return;
  try {
    line_->Draw(Text(now, columns), columns);
    drawn_ |= !counting_;
  } catch (const std::bad_alloc&) {  // without a line the work may well go on
  }
}

std::string CProgress::Text(Clock::time_point now, std::size_t columns) const {
  if (counting_) return "  counting, " + Amount(done_) + " so far";
  const bool has_total = total_ >= done_ && total_ > 0;
  std::string text = "  ";
  if (has_total && columns >= kColumnsForPercent) {
    const double part = static_cast<double>(done_) / static_cast<double>(total_);
    text += std::to_string(static_cast<int>(part * 100)) + " %, ";
  }
  text += Amount(done_);
  if (has_total) text += " of " + Amount(total_);
  if (unit_ == Unit::kNames) return text + " names  " + name_;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  return text + ", " + Rate(seconds) + "  " + name_;
}

void CProgress::Leave(std::uint64_t written) {
  const std::size_t columns = ErrorColumns();
  if (!drawn_ || columns < 2) return;
  try {
    line_->Leave(Summary(Clock::now(), written), columns);
  } catch (const std::bad_alloc&) {  // the work succeeded all the same
  }
}

std::string CProgress::Summary(Clock::time_point now, std::uint64_t written) const {
  const double seconds = std::chrono::duration<double>(now - start_).count();
  std::string text = "  ";
  if (unit_ == Unit::kNames) return text + Amount(done_) + " names, " + Duration(seconds);
  if (written > 0) {
    text += Amount(done_) + " packed into " + Amount(written) + Ratio(written, done_);
  } else if (unpacked_.to > 0) {
    text += Amount(unpacked_.from) + " unpacked to " + Amount(unpacked_.to) +
            Ratio(unpacked_.from, unpacked_.to);
  } else {
    text += Amount(done_);
  }
  return text + ", " + Duration(seconds) + ", " + Rate(seconds);
}

std::string CProgress::Rate(double seconds) const {
  return ByteCount(static_cast<double>(done_) / seconds) + "/s";
}

std::string CProgress::Amount(std::uint64_t value) const {
  return unit_ == Unit::kNames ? std::to_string(value) : ByteCount(static_cast<double>(value));
}

}  // namespace moldex

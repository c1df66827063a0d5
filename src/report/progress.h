// Shows the progress of long work to somebody at a terminal:
//
//     21 %, 412.3 MB of 1.9 GB, 83.1 MB/s  docs/readme.txt
//
// A status line shows it when the work has lasted a while without any output, and is renewed a few
// times a second. Code that works reports to the object. While nothing is shown, a report costs one
// test of a flag; otherwise it may read the clock and now and then draw.
#ifndef MOLDEX_REPORT_PROGRESS_H_
#define MOLDEX_REPORT_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "report/status_line.h"

namespace moldex {

class CProgress {
 public:
  enum class Unit { kBytes, kNames };

  // Whether a line may appear, so that it is worth finding out what to report.
  bool IsShown() const { return line_.has_value(); }

  // From now on, and until SetTotal, Advance counts the work that there is to do. The time that
  // this takes is not part of the work's time.
  void BeginCounting() { counting_ = IsShown(); }

  // The amount of work in all; 0 when it is unknown.
  void SetTotal(std::uint64_t total, Unit unit = Unit::kBytes) {
    if (IsShown()) BeginWork(total, unit);
  }

  // For work that goes through the total in parts: the next part begins. `size` is 0 when it is
  // unknown.
  void BeginPart(std::uint64_t size) {
    if (IsShown()) NextPart(size);
  }

  // The name of the object that is being worked on.
  void SetCurrentName(const std::string& name) {
    if (!IsShown()) return;
    name_ = name;
    DrawIfDue();
  }

  void Advance(std::uint64_t amount) {
    if (!IsShown()) return;
    done_ += amount;
    DrawIfDue();
  }

  // The work has reached this position in its part. A position before the last one undoes nothing.
  void AdvanceTo(std::uint64_t position) {
    if (IsShown()) MoveTo(position);
  }

  // The work goes on without an advance. Draws if the time for it has come.
  void Update() {
    if (IsShown()) DrawIfDue();
  }

 private:
  friend class CShownProgress;
  using Clock = std::chrono::steady_clock;

  void Show();
  void BeginWork(std::uint64_t total, Unit unit);
  void NextPart(std::uint64_t size);
  void MoveTo(std::uint64_t position);
  void DrawIfDue();
  std::string Text(Clock::time_point now, std::size_t columns) const;
  std::string Amount(std::uint64_t value) const;

  std::optional<CStatusLine> line_;
  Clock::time_point start_;
  Clock::time_point next_draw_;
  Unit unit_ = Unit::kBytes;
  bool counting_ = false;
  std::uint64_t total_ = 0;  // 0 while unknown
  std::uint64_t done_ = 0;
  std::uint64_t part_start_ = 0;  // of the part that is being worked on
  std::uint64_t part_size_ = 0;
  std::string name_;
};

// Lets progress appear while it lives.
class CShownProgress {
 public:
  // With `wanted` false, or where standard error is no terminal, nothing appears.
  CShownProgress(CProgress& progress, bool wanted);
  ~CShownProgress() { progress_.line_.reset(); }
  CShownProgress(const CShownProgress&) = delete;
  CShownProgress& operator=(const CShownProgress&) = delete;

 private:
  CProgress& progress_;
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_PROGRESS_H_

// Shows the progress of long work to somebody at a terminal:
//
//     21 %, 412.3 MB of 1.9 GB, 83.1 MB/s  docs/readme.txt
//
// A status line shows it when the work has lasted a while without any output, and is renewed a few
// times a second. Work that was shown and succeeded leaves its figures on the screen:
//
//     1.9 GB packed into 812.3 MB (42.8 %), 23.4 s, 83.1 MB/s
//
// Code that works reports to the object. While nothing is shown, a report costs one test of a flag;
// otherwise it may read the clock and now and then draw.
#ifndef MOLDEX_REPORT_PROGRESS_H_
#define MOLDEX_REPORT_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "report/status_line.h"

namespace moldex {

// Bytes of compressed data, and the bytes of files that they gave.
struct UnpackedBytes {
  std::uint64_t from = 0;
  std::uint64_t to = 0;
};

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

  // The work goes on without an advance: a small archive may hold many bytes.
  void Update() {
    if (IsShown()) DrawIfDue();
  }

  // So many bytes of compressed data were turned into so many bytes of files. This is no advance.
  void CountUnpacked(const UnpackedBytes& bytes) {
    if (!IsShown()) return;
    unpacked_.from += bytes.from;
    unpacked_.to += bytes.to;
  }

 private:
  friend class CShownProgress;
  using Clock = std::chrono::steady_clock;

  void Show();
  void BeginWork(std::uint64_t total, Unit unit);
  void NextPart(std::uint64_t size);
  void MoveTo(std::uint64_t position);
  void DrawIfDue();
  void Leave(std::uint64_t written);
  std::string Text(Clock::time_point now, std::size_t columns) const;
  std::string Summary(Clock::time_point now, std::uint64_t written) const;
  std::string Amount(std::uint64_t value) const;
  std::string Rate(double seconds) const;

  std::optional<CStatusLine> line_;
  Clock::time_point start_;
  Clock::time_point next_draw_;
  Unit unit_ = Unit::kBytes;
  bool counting_ = false;
  bool drawn_ = false;       // the work itself, not its counting
  std::uint64_t total_ = 0;  // 0 while unknown
  std::uint64_t done_ = 0;
  std::uint64_t part_start_ = 0;  // of the part that is being worked on
  std::uint64_t part_size_ = 0;
  UnpackedBytes unpacked_;
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

  // The work has succeeded. If its line was shown, one line with its figures takes its place and
  // stays. `written` is the number of bytes that an archive has grown by, or 0. Call it after all
  // text of the work was flushed; nothing appears any more then.
  void LeaveFigures(std::uint64_t written) {
    if (progress_.IsShown()) progress_.Leave(written);
    progress_.line_.reset();
  }

 private:
  CProgress& progress_;
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_PROGRESS_H_

#include "platform/buffered_reader.h"

#include <algorithm>
#include <cstring>

#include "platform/interrupt.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// After a long skip only a little is read, because another header and another skip are likely to
// follow. Every read without one before it doubles the amount, so headers that lie close together
// are read together.
constexpr std::size_t kSmallRead = 512;
constexpr std::uint64_t kShortSkip = 4096;
constexpr std::size_t kLargeRead = CBufferedReader::kCapacity;

constexpr std::uint64_t kLargestStep = 0x7FFFFFFF;  // what one half of a skip can hold

}  // namespace

CBufferedReader::CBufferedReader(CFileHandle& file, CProgress* progress)
    : file_(file), progress_(progress), buffer_(kCapacity), read_ahead_(kSmallRead) {
  const auto status = file_.Status();
  seekable_ = status && status->kind == FileKind::kRegular;
  if (seekable_) known_size_ = status->size_bytes;
}

std::span<const std::uint8_t> CBufferedReader::Take(std::size_t count) {
  const auto piece = Peek(count);
  begin_ += piece.size();
  return piece;
}

std::span<const std::uint8_t> CBufferedReader::Peek(std::size_t count) {
  if (Held() < count) Fill(count);
  return {buffer_.data() + begin_, std::min(count, Held())};
}

void CBufferedReader::Fill(std::size_t wanted) {
  ThrowIfInterrupted();
  if (failed_) return;
  std::memmove(buffer_.data(), buffer_.data() + begin_, Held());
  end_ -= begin_;
  begin_ = 0;
  const std::size_t missing = wanted - end_;
  const std::size_t amount = std::min(std::max(missing, read_ahead_), buffer_.size() - end_);
  ReadInto({buffer_.data() + end_, amount});
  if (progress_ != nullptr) progress_->AdvanceTo(position_);
  read_ahead_ = std::min(read_ahead_ * 2, kLargeRead);
}

// Bytes that were read before a failure are handed out like any others.
void CBufferedReader::ReadInto(std::span<std::uint8_t> space) {
  while (!space.empty()) {
    const auto count = file_.ReadSome(space);
    failed_ = !count;
    if (failed_ || *count == 0) return;
    end_ += *count;
    position_ += *count;
    space = space.subspan(*count);
  }
}

Result<SkipResult> CBufferedReader::Skip(std::uint64_t distance) {
  if (distance > kShortSkip) read_ahead_ = kSmallRead;
  if (distance <= Held()) {
    begin_ += static_cast<std::size_t>(distance);
    return SkipResult::kMoved;
  }
  if (!seekable_) return SkipByReading(distance);
  const std::uint64_t rest = distance - Held();
  if (known_size_ - std::min(position_, known_size_) < rest) {
    const auto status = file_.Status();  // the file may have grown
    if (!status) return status.error();
    known_size_ = status->size_bytes;
    if (known_size_ - std::min(position_, known_size_) < rest) return SkipResult::kBeyondEnd;
  }
  for (std::uint64_t left = rest; left > 0;) {
    const std::uint64_t step = std::min(left, kLargestStep);
    const auto skipped = file_.Skip(static_cast<std::int32_t>(step), 0);
    if (!skipped) return skipped.error();
    left -= step;
  }
  position_ += rest;
  if (progress_ != nullptr) progress_->AdvanceTo(position_);
  begin_ = end_ = 0;
  return SkipResult::kMoved;
}

Result<SkipResult> CBufferedReader::SkipByReading(std::uint64_t distance) {
  while (distance > 0) {
    const std::size_t piece =
        Take(static_cast<std::size_t>(std::min<std::uint64_t>(distance, kCapacity))).size();
    if (failed_) return LastSystemError();
    if (piece == 0) return SkipResult::kBeyondEnd;
    distance -= piece;
  }
  return SkipResult::kMoved;
}

}  // namespace moldex

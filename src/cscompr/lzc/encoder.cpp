#include "cscompr/lzc/encoder.h"

#include <algorithm>

#include "cscompr/cscompr.h"
#include "cscompr/stream_header.h"

namespace cscompr {
namespace {

// The bytes read between two checks of how well a full table still compresses.
constexpr std::uint32_t kCheckGap = 4096;

// From this number of bytes on, 256 times the number does not fit 32 bits, so the division comes
// first.
constexpr std::uint32_t kRatioLimit = 0x800000;
constexpr std::uint32_t kBestRatio = 0x7FFFFFFF;

}  // namespace

Outcome LzcEncoder::Start(std::int32_t original_length, const Buffers& buffers) {
  original_length_ = static_cast<std::uint32_t>(original_length);
  bytes_read_ = 0;
  checkpoint_ = kCheckGap;
  best_ratio_ = 0;
  bytes_before_width_ = kStreamHeaderBytes;
  codes_of_width_ = 0;
  writer_ = BitWriter();
  held_begin_ = held_end_ = 0;
  ResetTable();
  state_ = State::kReading;

  WriteStreamHeader(original_length_, Algorithm::kLzc, kLzcBlockMode | kLzcWriteWidth,
                    buffers.output);
  Outcome outcome =
      Resume({buffers.input, buffers.input_length, buffers.output + kStreamHeaderBytes,
              buffers.output_length - kStreamHeaderBytes});
  outcome.bytes_written += kStreamHeaderBytes;
  return outcome;
}

Outcome LzcEncoder::Resume(const Buffers& buffers) {
  if (state_ == State::kIdle) return {kCsBadState};
  const std::uint32_t unread = original_length_ - bytes_read_;
  const auto offered = static_cast<std::uint32_t>(buffers.input_length);
  Cursor cursor{buffers.input, buffers.input + std::min(unread, offered), buffers.output,
                buffers.output + buffers.output_length};
  std::int32_t code = 0;
  while (code == 0) {
    DeliverHeld(cursor);
    if (held_begin_ != held_end_) {
      code = kCsOutputFull;
    } else if (state_ == State::kFlushing) {
      state_ = State::kIdle;
      code = kCsEndOfStream;
    } else if (bytes_read_ == original_length_) {
      Finish();
    } else if (cursor.input == cursor.input_end) {
      code = kCsInputExhausted;
    } else {
      Encode(cursor);
    }
  }
  return {code, static_cast<std::int32_t>(cursor.input - buffers.input),
          static_cast<std::int32_t>(cursor.output - buffers.output)};
}

void LzcEncoder::ResetTable() {
  table_.Clear();
  next_code_ = kLzcFirstFree;
  width_ = kLzcMinWidth;
}

void LzcEncoder::DeliverHeld(Cursor& cursor) {
  const auto space = static_cast<std::size_t>(cursor.output_end - cursor.output);
  const auto count = std::min<std::size_t>(held_end_ - held_begin_, space);
  cursor.output = std::copy_n(held_.data() + held_begin_, count, cursor.output);
  held_begin_ += static_cast<std::uint32_t>(count);
}

// Encodes into the output while every possible step fits there. Otherwise does one step into the
// held bytes.
void LzcEncoder::Encode(Cursor& cursor) {
  if (bytes_read_ == 0) {
    prefix_ = *cursor.input++;
    bytes_read_ = 1;
  }
  const auto has_space = [&cursor] {
    return cursor.output_end - cursor.output >= static_cast<std::ptrdiff_t>(kStepBytes);
  };
  if (has_space()) {
    while (has_space() && EncodeString(cursor))
      EncodeRuns(cursor);
  } else {
    Cursor held{cursor.input, cursor.input_end, held_.data(), held_.data() + held_.size()};
    EncodeString(held);
    cursor.input = held.input;
    held_begin_ = 0;
    held_end_ = static_cast<std::uint32_t>(held.output - held_.data());
  }
}

// Encodes one string with all checks. False when the input ends before the string does.
bool LzcEncoder::EncodeString(Cursor& cursor) {
  const LzcStringTable::Walk walk = table_.Follow(prefix_, cursor.input, cursor.input_end);
  bytes_read_ += static_cast<std::uint32_t>(walk.next - cursor.input);
  cursor.input = walk.next;
  prefix_ = walk.code;
  if (walk.next == cursor.input_end) return false;
  writer_.MoveTo(cursor.output);
  writer_.Add(walk.code, width_);
  writer_.Store();
  ++codes_of_width_;
  prefix_ = *cursor.input++;
  ++bytes_read_;
  if (next_code_ < kTableSize) {
    if (next_code_ >> width_ != 0) {
      EndGroup();
      ++width_;
    }
    table_.Add(next_code_++, walk.place);
  } else {
    MaybeClear();
  }
  cursor.output = writer_.Next();
  return true;
}

// Keeps a full table as long as the compression ratio of the whole stream still rises from one
// checkpoint to the next, and clears it otherwise.
void LzcEncoder::MaybeClear() {
  if (bytes_read_ < checkpoint_) return;
  checkpoint_ = bytes_read_ + kCheckGap;
  const std::uint32_t ratio = Ratio();
  if (ratio > best_ratio_) {
    best_ratio_ = ratio;
    return;
  }
  best_ratio_ = 0;
  writer_.Add(kLzcClear, width_);
  writer_.Store();
  ++codes_of_width_;
  EndGroup();
  ResetTable();
}

// 256 times the bytes read, divided by the bytes written. Only whole groups count as written, so
// that the ratio does not depend on how output is cut into calls.
std::uint32_t LzcEncoder::Ratio() const {
  const std::uint64_t written =
      bytes_before_width_ + std::uint64_t{codes_of_width_ / kLzcGroupCodes} * width_;
  if (bytes_read_ < kRatioLimit) return static_cast<std::uint32_t>((bytes_read_ << 8) / written);
  const std::uint64_t written_256 = written >> 8;
  return written_256 == 0 ? kBestRatio : static_cast<std::uint32_t>(bytes_read_ / written_256);
}

// Fills the current group with zero bits. Codes of another width may follow.
void LzcEncoder::EndGroup() {
  const unsigned codes = codes_of_width_ % kLzcGroupCodes;
  writer_.StoreAll();
  if (codes > 0) {
    const unsigned filling = width_ - (codes * width_ + 7) / 8;
    writer_.MoveTo(std::fill_n(writer_.Next(), filling, std::uint8_t{0}));
  }
  bytes_before_width_ +=
      std::uint64_t{(codes_of_width_ + kLzcGroupCodes - 1) / kLzcGroupCodes} * width_;
  codes_of_width_ = 0;
}

void LzcEncoder::Finish() {
  writer_.MoveTo(held_.data());
  writer_.Add(prefix_, width_);
  writer_.StoreAll();
  held_begin_ = 0;
  held_end_ = static_cast<std::uint32_t>(writer_.Next() - held_.data());
  state_ = State::kFlushing;
}

}  // namespace cscompr

#include "cscompr/lzc/encoder.h"

#include <algorithm>

#include "cscompr/cscompr.h"
#include "cscompr/stream_header.h"

namespace cscompr {
namespace {

// How many bytes are read between two looks at how well the full table still serves.
constexpr std::uint32_t kCheckGap = 4096;

// From here on 32 bits do not hold 256 times the bytes read, so the division comes first.
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
  const auto room = static_cast<std::size_t>(cursor.output_end - cursor.output);
  const auto count = std::min<std::size_t>(held_end_ - held_begin_, room);
  cursor.output = std::copy_n(held_.data() + held_begin_, count, cursor.output);
  held_begin_ += static_cast<std::uint32_t>(count);
}

// Encodes straight into the output while a step fits there whatever it writes, else one step into
// the held bytes.
void LzcEncoder::Encode(Cursor& cursor) {
  if (bytes_read_ == 0) {
    prefix_ = *cursor.input++;
    bytes_read_ = 1;
  }
  const auto has_room = [&cursor] {
    return cursor.output_end - cursor.output >= static_cast<std::ptrdiff_t>(kStepBytes);
  };
  if (has_room()) {
    while (has_room() && EncodeString(cursor))
      EncodeRuns(cursor);
  } else {
    Cursor held{cursor.input, cursor.input_end, held_.data(), held_.data() + held_.size()};
    EncodeString(held);
    cursor.input = held.input;
    held_begin_ = 0;
    held_end_ = static_cast<std::uint32_t>(held.output - held_.data());
  }
}

// Codes one string, whatever it takes. False when the input ends before it does.
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

// A full table is kept for as long as the whole stream's ratio still rises from one checkpoint to
// the next.
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

// 256 times the bytes read over the bytes written. Only whole groups count as written, as in a
// program that writes them one at a time; that also keeps the buffers of a call out of it.
std::uint32_t LzcEncoder::Ratio() const {
  const std::uint64_t written =
      bytes_before_width_ + std::uint64_t{codes_of_width_ / kLzcGroupCodes} * width_;
  if (bytes_read_ < kRatioLimit) return static_cast<std::uint32_t>((bytes_read_ << 8) / written);
  const std::uint64_t written_256 = written >> 8;
  return written_256 == 0 ? kBestRatio : static_cast<std::uint32_t>(bytes_read_ / written_256);
}

// Fills the group in progress with zero bits; codes of another width may follow.
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

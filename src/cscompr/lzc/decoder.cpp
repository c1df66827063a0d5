#include "cscompr/lzc/decoder.h"

#include <algorithm>

#include "cscompr/cscompr.h"
#include "cscompr/stream_header.h"

namespace cscompr {

Outcome LzcDecoder::Start(const Buffers& buffers) {
  const auto header = ReadStreamHeader(buffers.input);
  if (!header) return {kCsNotAStream};
  const unsigned max_width = header->parameter & kLzcWidthMask;
  if (max_width < kLzcMinWidth || max_width > kLzcReadWidth) return {kCsBadCodeWidth};
  max_width_ = max_width;
  block_mode_ = (header->parameter & kLzcBlockMode) != 0;
  undelivered_ = header->original_length;
  reader_ = BitReader();
  has_begun_ = false;
  held_begin_ = held_end_ = 0;
  codes_of_width_ = 0;
  padding_bits_ = 0;
  corrupt_ = false;
  for (std::uint32_t literal = 0; literal < kLzcLiterals; ++literal) {
    entries_[literal] = {literal, 0, 1, static_cast<std::uint8_t>(literal)};
  }
  ResetTable();
  Outcome outcome =
      Resume({buffers.input + kStreamHeaderBytes, buffers.input_length - kStreamHeaderBytes,
              buffers.output, buffers.output_length});
  outcome.bytes_read += kStreamHeaderBytes;
  return outcome;
}

Outcome LzcDecoder::Resume(const Buffers& buffers) {
  reader_.next = buffers.input;
  reader_.end = buffers.input + buffers.input_length;
  std::uint8_t* output = buffers.output;
  const std::uint8_t* output_end = buffers.output + buffers.output_length;
  std::int32_t code = 0;
  while (code == 0) {
    DeliverHeld(output, output_end);
    if (undelivered_ == 0) {
      reader_.next = reader_.end;
      code = kCsEndOfStream;
    } else if (held_begin_ != held_end_) {
      code = kCsOutputFull;
    } else if (corrupt_) {
      code = kCsCodeChain;
    } else if (!SkipPadding() || !Decode(output, output_end)) {
      code = kCsInputExhausted;
    }
  }
  reader_.Trim();
  return {code, static_cast<std::int32_t>(reader_.next - buffers.input),
          static_cast<std::int32_t>(output - buffers.output)};
}

void LzcDecoder::ResetTable() {
  next_code_ = block_mode_ ? kLzcFirstFree : kLzcClear;
  width_ = kLzcMinWidth;
  has_previous_ = false;
}

void LzcDecoder::DeliverHeld(std::uint8_t*& output, const std::uint8_t* output_end) {
  const auto space = static_cast<std::uint32_t>(output_end - output);
  const std::uint32_t count = std::min({held_end_ - held_begin_, space, undelivered_});
  output = std::copy_n(held_.data() + held_begin_, count, output);
  held_begin_ += count;
  undelivered_ -= count;
}

// False when the input ends before the padding.
bool LzcDecoder::SkipPadding() {
  while (padding_bits_ > 0) {
    if (reader_.count == 0) reader_.Fill();
    if (reader_.count == 0) return false;
    const unsigned skipped = std::min(padding_bits_, reader_.count);
    reader_.Skip(skipped);
    padding_bits_ -= skipped;
  }
  return true;
}

void LzcDecoder::EndGroup() {
  padding_bits_ = (0U - codes_of_width_) % kLzcGroupCodes * width_;
  codes_of_width_ = 0;
}

// Runs the hot loop as far as it goes, then decodes one more code with all checks. False when the
// input ends before that code does.
bool LzcDecoder::Decode(std::uint8_t*& output, const std::uint8_t* output_end) {
  if (has_previous_) DecodeRuns(output, output_end);
  if (undelivered_ == 0) return true;
  if (reader_.count < width_) reader_.Fill();
  if (reader_.count < width_) return false;
  const std::uint32_t code = reader_.Take(width_);
  ++codes_of_width_;
  if (has_begun_ && block_mode_ && code == kLzcClear) {
    EndGroup();
    ResetTable();
    return true;
  }
  corrupt_ = code > (has_previous_ ? next_code_ : kLzcLiterals - 1);
  if (corrupt_) return true;
  if (has_previous_ && next_code_ < 1U << max_width_) AddEntry(code);
  has_begun_ = has_previous_ = true;
  previous_ = code;
  Emit(entries_[code], output, output_end);
  if (next_code_ >> width_ != 0 && width_ < max_width_) {
    EndGroup();
    ++width_;
  }
  return true;
}

// Adds the previous string and the first byte of the last one as a new string. The last string may
// be the new one itself. Both begin with the same byte, so that byte is set first.
void LzcDecoder::AddEntry(std::uint32_t last_code) {
  const Entry& previous = entries_[previous_];
  Entry& entry = entries_[next_code_];
  entry.first = previous.first;
  entry.length = static_cast<std::uint16_t>(previous.length + 1);
  const std::uint64_t byte = entries_[last_code].first;
  const unsigned tail_length = previous.length % kStepBytes;
  if (tail_length == 0) {
    entry.tail = byte;
    entry.link = static_cast<std::uint16_t>(previous_);
  } else {
    entry.tail = previous.tail | byte << (8 * tail_length);
    entry.link = previous.link;
  }
  ++next_code_;
}

// Writes a string to the output. Holds it when it does not fit there, or may be longer than the
// rest of the original length.
void LzcDecoder::Emit(const Entry& entry, std::uint8_t*& output, const std::uint8_t* output_end) {
  const std::uint32_t length = entry.length;
  const auto space = static_cast<std::size_t>(output_end - output);
  if (length + kStepBytes <= space && length <= undelivered_) {
    WriteString(entry, output);
    output += length;
    undelivered_ -= length;
  } else {
    WriteString(entry, held_.data());
    held_begin_ = 0;
    held_end_ = length;
  }
}

}  // namespace cscompr

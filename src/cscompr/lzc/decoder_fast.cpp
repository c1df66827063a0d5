// The decoder's hot loop, for the inside of a call's buffers and of a table: no clear code, no
// change of the width, no string without room. It stands apart, and is long, because its state has
// to stay in registers; whatever else may come is left to the careful step that follows it.
#include <algorithm>
#include <cstddef>

#include "cscompr/lzc/decoder.h"
#include "cscompr/wide_access.h"

namespace cscompr {

// Decodes while that is plain; needs a previous code.
void LzcDecoder::DecodeRuns(std::uint8_t*& output, const std::uint8_t* output_end) {
  if (output_end - output < static_cast<std::ptrdiff_t>(kStepBytes)) return;
  const auto room = static_cast<std::size_t>(output_end - output) - kStepBytes;
  const std::uint8_t* limit = output + std::min<std::size_t>(room, undelivered_);
  const std::uint8_t* begin = output;
  if (next_code_ == 1U << max_width_) {
    output = DecodeRun<true>(output, limit);
  } else {
    output = DecodeRun<false>(output, limit);
  }
  undelivered_ -= static_cast<std::uint32_t>(output - begin);
}

// Strings end at `limit` or before; gives where the last one ends.
template <bool kTableIsFull>
std::uint8_t* LzcDecoder::DecodeRun(std::uint8_t* output, const std::uint8_t* limit) {
  BitReader reader = reader_;
  const unsigned width = width_;
  const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
  const std::uint32_t clear = block_mode_ ? kLzcClear : kTableSize;
  const std::uint32_t last_code = (1U << width) - 1;  // makes the width grow or the table full
  std::uint32_t next_code = next_code_;
  std::uint32_t previous_code = previous_;
  std::uint32_t codes = 0;
  Entry previous = entries_[previous_code];
  for (;;) {
    if (!kTableIsFull && next_code >= last_code) break;
    if (reader.count < width) {
      if (reader.end - reader.next < BitReader::kWideLoadBytes) break;
      reader.FillWide();
    }
    const auto code = static_cast<std::uint32_t>(reader.bits & mask);
    if (code == clear || code > next_code) break;
    if constexpr (!kTableIsFull) {
      Entry& entry = entries_[next_code];
      entry.first = previous.first;  // of the last string, too, if it is this one
      const std::uint64_t byte = entries_[code].first;
      const unsigned tail_length = previous.length % kStepBytes;
      entry.tail = (tail_length == 0 ? 0 : previous.tail) | byte << (8 * tail_length);
      entry.link = tail_length == 0 ? static_cast<std::uint16_t>(previous_code) : previous.link;
      entry.length = static_cast<std::uint16_t>(previous.length + 1);
    }
    const Entry entry = entries_[code];
    if (entry.length > limit - output) break;
    WriteString(entry, output);
    output += entry.length;
    previous = entry;
    previous_code = code;
    reader.Skip(width);
    ++codes;
    if constexpr (!kTableIsFull) ++next_code;
  }
  reader_ = reader;
  next_code_ = next_code;
  previous_ = previous_code;
  codes_of_width_ += codes;
  return output;
}

}  // namespace cscompr

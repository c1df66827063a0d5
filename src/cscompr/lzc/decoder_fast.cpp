// The LZC decoder's hot loop, for the inside of the buffers and of the table: no clear code, no
// change of the code width, no string that does not fit. It is one long function in a file of its
// own because its state must stay in registers. The careful step after it handles everything else.
#include <algorithm>
#include <cstddef>

#include "cscompr/lzc/decoder.h"
#include "cscompr/wide_access.h"

namespace cscompr {

// Runs the hot loop as far as it goes. Needs a previous code.
void LzcDecoder::DecodeRuns(std::uint8_t*& output, const std::uint8_t* output_end) {
  if (output_end - output < static_cast<std::ptrdiff_t>(kStepBytes)) return;
  const auto space = static_cast<std::size_t>(output_end - output) - kStepBytes;
  const std::uint8_t* limit = output + std::min<std::size_t>(space, undelivered_);
  const std::uint8_t* begin = output;
  if (next_code_ == 1U << max_width_) {
    output = DecodeRun<true>(output, limit);
  } else {
    output = DecodeRun<false>(output, limit);
  }
  undelivered_ -= static_cast<std::uint32_t>(output - begin);
}

// No string goes beyond `limit`. Returns the end of the last one.
template <bool kTableIsFull>
std::uint8_t* LzcDecoder::DecodeRun(std::uint8_t* output, const std::uint8_t* limit) {
  BitReader reader = reader_;
  const unsigned width = width_;
  const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
  const std::uint32_t clear = block_mode_ ? kLzcClear : kTableSize;
  const std::uint32_t last_code =
      (1U << width) - 1;  // after it the width grows or the table is full
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
      entry.first = previous.first;  // also right if the last string is this one
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

// The encoder's hot loop, for the inside of a call's buffers: here it never looks for the end of
// the output, nor, in strings of up to seven bytes, for that of the input.
//
// It is long because its state has to stay in registers: a function called from within would either
// take it from there or be part of it anyway.
#include <algorithm>
#include <cstddef>

#include "cscompr/lzc_encoder.h"
#include "cscompr/wide_access.h"

namespace cscompr {

// Goes on from a prefix of one byte for as long as the margins of the buffers last and neither the
// width nor the table has to change.
void LzcEncoder::EncodeRuns(Cursor& cursor) {
  constexpr std::ptrdiff_t kLongestCode = 2;
  const std::uint8_t* start = cursor.input - 1;
  const std::ptrdiff_t input_room =
      cursor.input_end - start - static_cast<std::ptrdiff_t>(sizeof(std::uint64_t)) + 1;
  const std::ptrdiff_t output_room =
      (cursor.output_end - cursor.output - static_cast<std::ptrdiff_t>(kStepBytes)) / kLongestCode;
  const std::ptrdiff_t room = std::min(input_room, output_room);
  if (room <= 0) return;
  if (next_code_ < kTableSize) {
    if (next_code_ >> width_ == 0) EncodeRun<false>(cursor, start + room);
  } else if (bytes_read_ < checkpoint_) {
    const std::ptrdiff_t to_checkpoint = checkpoint_ - bytes_read_;
    if (!EncodeRun<true>(cursor, start + std::min(room, to_checkpoint))) return;
    MaybeClear();
    cursor.output = writer_.Next();
  }
}

// Codes strings that begin before `stop`. False when the input has ended in the middle of one.
template <bool kTableIsFull>
bool LzcEncoder::EncodeRun(Cursor& cursor, const std::uint8_t* stop) {
  using Table = LzcStringTable;
  BitWriter writer = writer_;
  writer.MoveTo(cursor.output);
  const std::uint8_t* start = cursor.input - 1;
  const unsigned width = width_;
  const std::uint32_t code_limit = 1U << width;
  std::uint32_t next_code = next_code_;
  std::uint32_t codes = 0;
  bool has_input = true;
  do {
    const std::uint64_t word = Load64(start);
    const std::uint32_t pair = word & 0xFFFF;
    std::uint32_t code = table_.pairs[pair];
    if (code == 0) {
      code = word & 0xFF;
      ++start;
      if constexpr (!kTableIsFull) {
        table_.pairs[pair] = static_cast<std::uint16_t>(next_code);
        table_.keys[next_code] = Table::ShortKey(pair, 2);
      }
    } else {
      const std::uint64_t hashes = Table::HashesOf(word);
      const Table::Hit hit = table_.Longest(hashes, code);
      const unsigned length = hit.length;
      code = hit.code;
      // The tag may have erred, a longer string may exist, or the new one may not even find room in
      // the slot next to its own.
      const bool right = table_.keys[code] == Table::ShortKey(word, length);
      const std::uint32_t hash = Table::HashOf(hashes, length + 1);
      const std::uint32_t home = hash >> 16;
      const std::uint32_t there = table_.slots[home];
      const std::uint32_t slot = (home + (there != 0 ? 1 : 0)) % Table::kSlots;
      if (!right || length == Table::kShort || (there & Table::kPassedBy) != 0 ||
          (!kTableIsFull && table_.slots[slot] != 0)) [[unlikely]] {
        const Table::Walk walk = right ? table_.Follow(code, start + length, cursor.input_end)
                                       : table_.Follow(word & 0xFF, start + 1, cursor.input_end);
        code = walk.code;
        start = walk.next;
        has_input = start != cursor.input_end;
        if (!has_input) {
          prefix_ = code;
          break;
        }
        if constexpr (!kTableIsFull) table_.Add(next_code, walk.place);
      } else {
        start += length;
        if constexpr (!kTableIsFull) {
          table_.slots[home] = there | Table::kPassedBy;  // stays where it is not the slot
          table_.slots[slot] = next_code << 16 | (hash & 0xFFFF);
          table_.keys[next_code] = Table::ShortKey(word, length + 1);
        }
      }
    }
    writer.Add(code, width);
    writer.Store();
    ++codes;
    if constexpr (!kTableIsFull) ++next_code;
  } while (start < stop && (kTableIsFull || next_code != code_limit));
  if (has_input) prefix_ = *start++;
  bytes_read_ += static_cast<std::uint32_t>(start - cursor.input);
  cursor.input = start;
  cursor.output = writer.Next();
  next_code_ = next_code;
  codes_of_width_ += codes;
  writer_ = writer;
  return has_input;
}

}  // namespace cscompr

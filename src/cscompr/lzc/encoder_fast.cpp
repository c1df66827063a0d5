// The LZC encoder's hot loop, for the inside of the buffers: it never checks for the end of the
// output, nor, in strings of up to seven bytes, for the end of the input.
//
// It is one long function in a file of its own because its state must stay in registers. Codes are
// collected first and packed afterwards, so that the bit writer is no part of that state.
#include <algorithm>
#include <array>
#include <cstddef>

#include "cscompr/lzc/encoder.h"
#include "cscompr/wide_access.h"

namespace cscompr {
namespace {

// Packs codes of one width, four at a time: first in pairs, then both pairs in one word.
BitWriter WithCodes(BitWriter writer, const std::uint16_t* codes, std::size_t count,
                    unsigned width) {
  std::size_t done = 0;
  for (; done + 4 <= count; done += 4) {
    const std::uint64_t low = codes[done] | std::uint32_t{codes[done + 1]} << width;
    const std::uint64_t high = codes[done + 2] | std::uint32_t{codes[done + 3]} << width;
    writer.Add(low | high << 2 * width, 4 * width);
    writer.Store();
  }
  for (; done < count; ++done) {
    writer.Add(codes[done], width);
    writer.Store();
  }
  return writer;
}
static_assert(4 * kLzcWriteWidth <= BitWriter::kBitsBetweenStores);

// How many bytes from its start a search for a short string looks at: six, and the eight after
// them.
constexpr std::ptrdiff_t kLook = LzcStringTable::kShort - 1 + sizeof(std::uint64_t);

}  // namespace

// Starts from a prefix of one byte and encodes while the buffers keep their margins and neither the
// code width nor the table has to change.
void LzcEncoder::EncodeRuns(Cursor& cursor) {
  constexpr std::ptrdiff_t kLongestCode = 2;
  const std::uint8_t* start = cursor.input - 1;
  const std::ptrdiff_t input_space = cursor.input_end - start - kLook + 1;
  const std::ptrdiff_t output_space =
      (cursor.output_end - cursor.output - static_cast<std::ptrdiff_t>(kStepBytes)) / kLongestCode;
  const std::ptrdiff_t space = std::min(input_space, output_space);
  if (space <= 0) return;
  if (next_code_ < kTableSize) {
    if (next_code_ >> width_ == 0) EncodeRun<false>(cursor, start + space);
  } else if (bytes_read_ < checkpoint_) {
    const std::ptrdiff_t to_checkpoint = checkpoint_ - bytes_read_;
    if (!EncodeRun<true>(cursor, start + std::min(space, to_checkpoint))) return;
    MaybeClear();
    cursor.output = writer_.Next();
  }
}

// Encodes the strings that begin before `stop`. False when the input ended within one.
template <bool kTableIsFull>
bool LzcEncoder::EncodeRun(Cursor& cursor, const std::uint8_t* stop) {
  using Table = LzcStringTable;
  constexpr std::uint32_t kMostCodes = 1024;
  // The bytes that a key has space for again when its seven bytes are replaced by their code.
  constexpr std::ptrdiff_t kAhead = Table::kShort - Table::kCodeBytes;
  std::array<std::uint16_t, kMostCodes> codes;
  // Counts the codes, and while the table fills, the next free one with them.
  std::uint32_t next = next_code_;
  const std::uint32_t first = next;
  const std::uint32_t most =
      kTableIsFull ? first + kMostCodes : std::min(first + kMostCodes, 1U << width_);
  const std::uint8_t* start = cursor.input - 1;
  std::uint64_t next_word = Load64(start);
  bool has_input = true;
  do {
    std::uint64_t word = next_word;
    const std::uint32_t pair = word & 0xFFFF;
    std::uint32_t code = table_.pairs[pair];
    if (code == 0) {
      code = word & 0xFF;
      next_word = Load64(++start);
      if constexpr (!kTableIsFull) {
        table_.pairs[pair] = static_cast<std::uint16_t>(next);
        table_.keys[next] = Table::KeyOf(pair, 2);
      }
    } else {
      const std::uint8_t* const begin = start;
      unsigned form = 0;
      std::uint64_t hashes = Table::HashesOf(word);
      // A string that fills a key begins the next one. Most strings end before that, which a
      // processor learns: it is worth a branch.
      while (table_.Has(hashes, Table::kShort)) {
        const std::uint32_t longer = table_.CodeIn(Table::SlotOf(hashes, Table::kShort));
        if (table_.keys[longer] != Table::KeyOf(word, form | Table::kShort) ||
            cursor.input_end - start < kLook + kAhead) {
          form = Table::kNoForm;
          break;
        }
        code = longer | Table::kShown;
        start += kAhead;
        word = Load64(start + Table::kCodeBytes) << (8 * Table::kCodeBytes) | longer;
        form = Table::kLong;
        hashes = Table::HashesOf(word);
      }
      const auto [length, following] = table_.LongestOf(hashes, start);
      next_word = following;
      form |= length;
      code = table_.CodeOf(hashes, length, code);
      // The new string goes to its slot or, where that is taken, next to it.
      const std::uint32_t home = Table::SlotOf(hashes, length + 1);
      const std::uint32_t taken = (table_.tags[home] + 0xFFU) >> 8;  // 0 or 1, without a branch
      const std::uint32_t slot = home + taken;
      const bool right = table_.keys[code] == Table::KeyOf(word, form);  // the tag may have erred
      code %= Table::kCodes;
      if ((taken * Table::kOverflowed & table_.codes[home]) != 0 ||
          (!kTableIsFull && table_.tags[slot] != 0) || !right) [[unlikely]] {
        const Table::Walk walk = right ? table_.Follow(code, start + length, cursor.input_end)
                                       : table_.Follow(*begin, begin + 1, cursor.input_end);
        code = walk.code;
        start = walk.next;
        has_input = start != cursor.input_end;
        if (!has_input) {
          prefix_ = code;
          break;
        }
        if (start < stop) next_word = Load64(start);
        if constexpr (!kTableIsFull) table_.Add(next, walk.place);
      } else {
        start += length;
        if constexpr (!kTableIsFull) {
          table_.codes[home] |= Table::kOverflowed;  // undone below where it is free
          table_.tags[slot] = Table::TagOf(hashes, length + 1);
          table_.codes[slot] = static_cast<std::uint16_t>(next);
          table_.keys[next] = Table::KeyOf(word, form + 1);
        }
      }
    }
    codes[next++ - first] = static_cast<std::uint16_t>(code);
  } while (start < stop && next != most);
  if (has_input) prefix_ = *start++;
  bytes_read_ += static_cast<std::uint32_t>(start - cursor.input);
  cursor.input = start;
  if constexpr (!kTableIsFull) next_code_ = next;
  codes_of_width_ += next - first;
  writer_.MoveTo(cursor.output);
  writer_ = WithCodes(writer_, codes.data(), next - first, width_);
  cursor.output = writer_.Next();
  return has_input;
}

}  // namespace cscompr

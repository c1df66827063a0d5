// Decompresses one LZC stream (lzc/format.h). The front end calls it and has checked the arguments:
// the input of a first call holds a header with the right magic, and the buffers are not null.
//
// Any input is safe. The object holds all its state and allocates nothing. An object of zero bytes
// is a decoder whose stream has ended.
#ifndef MOLDEX_CSCOMPR_LZC_DECODER_H_
#define MOLDEX_CSCOMPR_LZC_DECODER_H_

#include <array>
#include <cstdint>

#include "cscompr/bit_reader.h"
#include "cscompr/buffers.h"
#include "cscompr/lzc/format.h"
#include "cscompr/wide_access.h"

namespace cscompr {

class LzcDecoder {
 public:
  // Reads the header, then continues as Resume does. kCsBadCodeWidth when the header asks for a
  // larger code width than the table has.
  Outcome Start(const Buffers& buffers);

  // kCsEndOfStream once the original length is delivered; the whole input then counts as read.
  // kCsOutputFull when bytes wait for space, kCsInputExhausted when the stream needs more input,
  // kCsCodeChain when a code has no string.
  Outcome Resume(const Buffers& buffers);

 private:
  // A string of the table: its last 1 to 8 bytes, and the code of the string before them, whose
  // length is a multiple of 8. So a string is written in steps of 8 bytes, most often in one step,
  // and every chain of links ends.
  struct Entry {
    std::uint64_t tail;  // first byte lowest
    std::uint16_t link;
    std::uint16_t length;
    std::uint8_t first;  // byte of the whole string
  };

  void ResetTable();
  bool SkipPadding();
  bool Decode(std::uint8_t*& output, const std::uint8_t* output_end);
  void DecodeRuns(std::uint8_t*& output, const std::uint8_t* output_end);
  template <bool kTableIsFull>
  std::uint8_t* DecodeRun(std::uint8_t* output, const std::uint8_t* limit);
  void Emit(const Entry& entry, std::uint8_t*& output, const std::uint8_t* output_end);

  // Writes the string from its end, in steps that may reach up to 7 bytes beyond it.
  void WriteString(const Entry& entry, std::uint8_t* output) const {
    const Entry* part = &entry;
    std::uint32_t at = (entry.length - 1U) / kStepBytes * kStepBytes;
    for (;;) {
      Store64(output + at, part->tail);
      if (at == 0) return;
      part = &entries_[part->link];
      at -= kStepBytes;
    }
  }

  void AddEntry(std::uint32_t last_code);
  void EndGroup();
  void DeliverHeld(std::uint8_t*& output, const std::uint8_t* output_end);

  static constexpr std::uint32_t kTableSize = 1U << kLzcReadWidth;
  static constexpr std::uint32_t kStepBytes = sizeof(Entry::tail);

  std::array<Entry, kTableSize> entries_{};
  std::array<std::uint8_t, kTableSize + kStepBytes> held_{};  // a string that did not fit
  std::uint32_t held_begin_ = 0;
  std::uint32_t held_end_ = 0;

  BitReader reader_;
  unsigned width_ = 0;
  unsigned max_width_ = 0;
  bool block_mode_ = false;
  bool has_begun_ = false;     // false before the first code of the stream
  bool has_previous_ = false;  // false before the first code of a table
  bool corrupt_ = false;
  std::uint32_t previous_ = 0;
  std::uint32_t next_code_ = 0;
  std::uint32_t codes_of_width_ = 0;  // since the width last changed or the table was cleared
  unsigned padding_bits_ = 0;         // of a completed group, not skipped yet
  std::uint32_t undelivered_ = 0;     // of the original length
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_DECODER_H_

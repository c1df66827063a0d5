// Compresses one LZC stream: the header and the codes (lzc/format.h). The front end calls it and
// has checked the arguments; the buffers are not null.
//
// The bytes depend on the input alone, never on how it is cut into calls. The object holds all its
// state and allocates nothing. An object of zero bytes is an encoder whose stream has ended.
#ifndef MOLDEX_CSCOMPR_LZC_ENCODER_H_
#define MOLDEX_CSCOMPR_LZC_ENCODER_H_

#include <array>
#include <cstdint>

#include "cscompr/bit_writer.h"
#include "cscompr/buffers.h"
#include "cscompr/lzc/format.h"
#include "cscompr/lzc/string_table.h"

namespace cscompr {

class LzcEncoder {
 public:
  // Begins a stream of `original_length` bytes, at least 1, then continues as Resume does. The
  // header must fit into the output.
  Outcome Start(std::int32_t original_length, const Buffers& buffers);

  // kCsEndOfStream once everything is read and delivered, kCsOutputFull when bytes wait for space,
  // kCsInputExhausted when the stream needs more input, kCsBadState after the end.
  Outcome Resume(const Buffers& buffers);

 private:
  static constexpr std::uint32_t kTableSize = LzcStringTable::kCodes;

  enum class State : std::uint8_t { kIdle, kReading, kFlushing };

  // The rest of a call's buffers.
  struct Cursor {
    const std::uint8_t* input;
    const std::uint8_t* input_end;
    std::uint8_t* output;
    const std::uint8_t* output_end;
  };

  void ResetTable();
  void DeliverHeld(Cursor& cursor);
  void Encode(Cursor& cursor);
  bool EncodeString(Cursor& cursor);
  void EncodeRuns(Cursor& cursor);
  template <bool kTableIsFull>
  bool EncodeRun(Cursor& cursor, const std::uint8_t* stop);
  void MaybeClear();
  void EndGroup();
  void Finish();
  [[nodiscard]] std::uint32_t Ratio() const;

  // The most that one step writes: two codes, the filling of a group, and the writer's slack.
  static constexpr std::uint32_t kStepBytes = 32;
  static_assert(2 * 2 + kLzcWriteWidth + BitWriter::kSlackBytes <= kStepBytes);

  LzcStringTable table_;
  std::uint32_t next_code_ = 0;
  unsigned width_ = 0;
  std::uint32_t prefix_ = 0;
  std::uint32_t codes_of_width_ = 0;  // since the width last changed or the table was cleared
  std::uint64_t bytes_before_width_ = 0;

  std::uint32_t original_length_ = 0;
  std::uint32_t bytes_read_ = 0;
  std::uint32_t checkpoint_ = 0;
  std::uint32_t best_ratio_ = 0;

  BitWriter writer_;
  std::array<std::uint8_t, kStepBytes> held_{};  // codes that did not fit
  std::uint32_t held_begin_ = 0;
  std::uint32_t held_end_ = 0;
  State state_ = State::kIdle;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZC_ENCODER_H_

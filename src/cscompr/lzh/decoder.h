// Decompresses LZH streams: blocks of RFC 1951 with fixed or dynamic codes and distances of up to
// 16 KB, never a stored block.
//
// Decodes directly into the caller's output, and keeps the last 16 KB of it for the next call. The
// object holds all its state and allocates nothing. The front end has checked the arguments:
// lengths are not negative, and a buffer is null only if its length is 0.
//
// Both operations return kCsEndOfStream (the whole input then counts as read), kCsOutputFull
// (bytes_read tells where the next call's input begins), kCsInputExhausted, or a negative code,
// which Resume repeats until the next Start. Nothing is delivered beyond the original length in the
// header. The bytes after the delivered ones in the output buffer may be overwritten all the same.
#ifndef MOLDEX_CSCOMPR_LZH_DECODER_H_
#define MOLDEX_CSCOMPR_LZH_DECODER_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "cscompr/buffers.h"
#include "cscompr/lzh/decoding_tables.h"
#include "cscompr/lzh/sliding_window.h"
#include "cscompr/lzh/symbol_run.h"

namespace cscompr {

class LzhDecoder {
 public:
  // Begins the stream whose 8-byte header the input starts with, and continues after the header.
  Outcome Start(const Buffers& buffers);
  Outcome Resume(const Buffers& buffers);

  // Uses no instructions that only some processors have. For tests.
  void SetPortable(bool portable) { portable_ = portable; }

 private:
  // The next part of the stream.
  enum class Step : std::uint8_t {
    kNotStarted,
    kBlockHeader,
    kCounts,
    kCodeLengthLengths,
    kCodeLengths,
    kSymbols,
    kMatch,
    kEnd,
    kFailed
  };

  Outcome Decode(const Buffers& buffers, const std::uint8_t* input);

  // Each goes as far as the buffers allow. Returns 0 when the next step is due, else the result of
  // the call.
  std::int32_t RunSteps(SymbolRun& run);
  std::int32_t RunStep(SymbolRun& run);
  std::int32_t ReadBlockHeader(BitReader& reader);
  std::int32_t ReadCounts(BitReader& reader);
  std::int32_t ReadCodeLengthLengths(BitReader& reader);
  std::int32_t ReadCodeLengths(BitReader& reader);
  std::int32_t ReadSymbols(SymbolRun& run);
  std::int32_t ReadSymbol(SymbolRun& run);
  std::int32_t ReadMatch(SymbolRun& run, const BitReader& after_length, unsigned length);
  std::int32_t CopyMatch(SymbolRun& run);

  std::int32_t BuildDynamicTables();
  void EndBlock();

  static constexpr std::size_t kMaxCodeLengths = kLiteralLengthCodes + kDistanceCodes;

  std::uint64_t bits_ = 0;
  unsigned bit_count_ = 0;
  std::uint32_t remaining_ = 0;  // bytes that the header promises and that are not delivered yet
  Step step_ = Step::kNotStarted;
  bool last_block_ = false;
  bool portable_ = false;
  std::int32_t failure_ = 0;

  // The header of a dynamic block, as far as it was read.
  unsigned literal_codes_ = 0;
  unsigned distance_codes_ = 0;
  unsigned code_length_codes_ = 0;
  unsigned lengths_read_ = 0;
  std::array<std::uint8_t, kCodeLengthCodes> code_length_lengths_{};
  std::array<std::uint8_t, kMaxCodeLengths> code_lengths_{};

  // The rest of a match that is not copied yet.
  std::uint32_t match_length_ = 0;
  std::uint32_t match_distance_ = 0;

  const TableEntry* literals_ = nullptr;  // the tables of the current block
  const TableEntry* distances_ = nullptr;
  const std::uint8_t* literal_lengths_ = nullptr;  // their code lengths
  CodeLengthTable code_length_table_{};
  LiteralTable literal_table_{};
  DistanceTable distance_table_{};
  SlidingWindow window_;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_DECODER_H_

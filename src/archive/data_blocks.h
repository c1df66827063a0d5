// Compresses the pieces of a stream and cuts the encoder's output into the data blocks of an
// archive, for all strategies. Reads no files: the strategies pass the pieces.
#ifndef MOLDEX_ARCHIVE_DATA_BLOCKS_H_
#define MOLDEX_ARCHIVE_DATA_BLOCKS_H_

#include <cstdint>
#include <optional>
#include <span>

#include "archive/data_piece.h"
#include "cscompr/stream_encoder.h"

namespace moldex {

// One compressed stream. Until Complete, call Compress for a piece of input and then WriteBlock for
// its output, with the same data piece.
class CStreamWriter {
 public:
  // `length_bytes` is that of the whole stream. The encoder is this stream's until it is complete.
  CStreamWriter(cscompr::StreamEncoder& encoder, std::int32_t length_bytes)
      : encoder_(&encoder), length_bytes_(length_bytes) {}

  // Compresses into the space of `to`, which is not full; returns how much of the input was taken.
  // Empty when the encoder fails, or makes no headway.
  std::optional<std::size_t> Compress(std::span<const std::uint8_t> input, CDataPiece& to);

  // Whether the output space was full, so that the rest of the input has to be passed again.
  bool WantsSamePiece() const;
  bool Complete() const;

  // Adds what the last call produced, if anything. `last_stream` says that the entry ends with this
  // stream. False when the stream is complete but has no output left to mark its end with.
  bool WriteBlock(bool last_stream, CDataPiece& to);

 private:
  cscompr::StreamEncoder* encoder_;
  std::int32_t length_bytes_;
  std::int32_t code_ = 0;  // of the last call; 0 before the first
  std::size_t produced_bytes_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_DATA_BLOCKS_H_

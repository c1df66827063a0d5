// Compresses pieces by the library and cuts its output into the data blocks of an archive, for all
// strategies. Reads no files: the strategies pass the pieces.
#ifndef MOLDEX_ARCHIVE_DATA_BLOCKS_H_
#define MOLDEX_ARCHIVE_DATA_BLOCKS_H_

#include <cstdint>
#include <optional>
#include <span>

#include "archive/compress_strategy.h"

namespace moldex {

// One compressed stream. Until Complete, call Compress for a piece and then WriteBlock for its
// output.
class CStreamWriter {
 public:
  // `length_bytes` is that of the whole stream.
  CStreamWriter(CArchiveWriter& archive, CompressionBuffers& buffers, std::int32_t length_bytes)
      : archive_(archive), buffers_(buffers), length_bytes_(length_bytes) {}

  // Compresses from a piece into the output buffer; returns how much of it was taken. Empty when
  // the library fails, or makes no headway.
  std::optional<std::size_t> Compress(std::span<const std::uint8_t> piece);

  // Whether the output buffer was full, so that the rest of the piece has to be passed again.
  bool WantsSamePiece() const;
  bool Complete() const;

  // Writes what the last call produced, if anything. `last_stream` says that the entry ends with
  // this stream. False when the stream is complete but has no output left to mark its end with.
  // Throws CWriteExcept.
  bool WriteBlock(bool last_stream);

 private:
  CArchiveWriter& archive_;
  CompressionBuffers& buffers_;
  std::int32_t length_bytes_;
  std::int32_t code_ = 0;  // of the last call; 0 before the first
  std::size_t produced_bytes_ = 0;
};

// Writes the checksum that follows an entry's last block. Throws CWriteExcept.
void WriteChecksum(CArchiveWriter& archive, std::uint32_t checksum);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_DATA_BLOCKS_H_

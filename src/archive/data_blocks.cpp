#include "archive/data_blocks.h"

#include <array>
#include <new>

#include "archive/archive_writer.h"
#include "base/bytes.h"
#include "cscompr/cscompr.h"

namespace moldex {

std::optional<std::size_t> CStreamWriter::Compress(std::span<const std::uint8_t> piece) {
  const std::int32_t option = kCsLzh | (code_ == 0 ? kCsFirstCall : 0);
  std::int32_t taken = 0;
  std::int32_t produced = 0;
  code_ = CsCompr(length_bytes_, piece.data(), static_cast<std::int32_t>(piece.size()),
                  buffers_.output.data() + kBlockHeaderBytes,
                  static_cast<std::int32_t>(kLargestPayload), option, &taken, &produced);
  if (code_ == kCsNoMemory) throw std::bad_alloc();
  if (code_ <= 0 || (taken == 0 && produced == 0)) return std::nullopt;
  produced_bytes_ = static_cast<std::size_t>(produced);
  return static_cast<std::size_t>(taken);
}

bool CStreamWriter::WantsSamePiece() const { return code_ == kCsOutputFull; }

bool CStreamWriter::Complete() const { return code_ == kCsEndOfStream; }

bool CStreamWriter::WriteBlock(bool last_stream) {
  if (produced_bytes_ == 0) return !Complete();
  const bool last = Complete() && last_stream;
  buffers_.output[0] = last ? 'E' : 'D';
  buffers_.output[1] = last ? 'D' : 'A';
  PutU32(&buffers_.output[2], static_cast<std::uint32_t>(produced_bytes_));
  archive_.Write(std::span(buffers_.output).first(kBlockHeaderBytes + produced_bytes_));
  return true;
}

void WriteChecksum(CArchiveWriter& archive, std::uint32_t checksum) {
  std::array<std::uint8_t, 4> bytes{};
  PutU32(bytes.data(), checksum);
  archive.Write(bytes);
}

}  // namespace moldex

#include "archive/data_blocks.h"

#include <new>

namespace moldex {

std::optional<std::size_t> CStreamWriter::Compress(std::span<const std::uint8_t> input,
                                                   CDataPiece& to) {
  const std::int32_t option = kCsLzh | (code_ == 0 ? kCsFirstCall : 0);
  const auto payload = to.Space().subspan<kBlockHeaderBytes>();
  const cscompr::Outcome outcome =
      encoder_->Compress(length_bytes_,
                         {input.data(), static_cast<std::int32_t>(input.size()), payload.data(),
                          static_cast<std::int32_t>(payload.size())},
                         option);
  code_ = outcome.code;
  if (code_ == kCsNoMemory) throw std::bad_alloc();
  if (code_ <= 0 || (outcome.bytes_read == 0 && outcome.bytes_written == 0)) return std::nullopt;
  produced_bytes_ = static_cast<std::size_t>(outcome.bytes_written);
  return static_cast<std::size_t>(outcome.bytes_read);
}

bool CStreamWriter::WantsSamePiece() const { return code_ == kCsOutputFull; }

bool CStreamWriter::Complete() const { return code_ == kCsEndOfStream; }

bool CStreamWriter::WriteBlock(bool last_stream, CDataPiece& to) {
  if (produced_bytes_ == 0) return !Complete();
  to.AddBlock(produced_bytes_, Complete() && last_stream);
  return true;
}

}  // namespace moldex

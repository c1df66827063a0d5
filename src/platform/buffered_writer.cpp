#include "platform/buffered_writer.h"

#include <cstring>

namespace moldex {
namespace {

constexpr std::size_t kCapacity = 256 * 1024;

}  // namespace

CBufferedWriter::CBufferedWriter(CFileHandle& file) : file_(file), buffer_(kCapacity) {}

Result<void> CBufferedWriter::Write(std::span<const std::uint8_t> bytes) {
  while (bytes.size() > buffer_.size() - used_) {
    const std::size_t count = buffer_.size() - used_;
    Keep(bytes.first(count));
    bytes = bytes.subspan(count);
    const auto flushed = Flush();
    if (!flushed) return flushed;
  }
  Keep(bytes);
  return {};
}

void CBufferedWriter::Keep(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  std::memcpy(buffer_.data() + used_, bytes.data(), bytes.size());
  used_ += bytes.size();
}

Result<void> CBufferedWriter::Flush() {
  const std::size_t pending = used_;
  used_ = 0;
  return file_.WriteAll({buffer_.data(), pending});
}

}  // namespace moldex

#include "platform/buffered_writer.h"

#include <cstring>

namespace moldex {
namespace {

constexpr std::size_t kCapacity = 256 * 1024;

}  // namespace

CBufferedWriter::CBufferedWriter(CFileHandle& file) : file_(file), buffer_(kCapacity) {}

Result<void> CBufferedWriter::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > buffer_.size() - used_) {
    const auto flushed = Flush();
    if (!flushed) return flushed;
  }
  if (bytes.size() > buffer_.size()) return file_.WriteAll(bytes);
  std::memcpy(buffer_.data() + used_, bytes.data(), bytes.size());
  used_ += bytes.size();
  return {};
}

Result<void> CBufferedWriter::Flush() {
  const std::size_t pending = used_;
  used_ = 0;
  return file_.WriteAll({buffer_.data(), pending});
}

}  // namespace moldex

#include "platform/buffered_writer.h"

#include <cstring>

namespace moldex {
namespace {

constexpr std::size_t kCapacity = 256 * 1024;

bool WriteAll(CFileHandle& file, std::span<const std::uint8_t> bytes) {
  const Transfer transfer = file.Write(bytes);
  return transfer.ok && transfer.bytes == bytes.size();
}

}  // namespace

CBufferedWriter::CBufferedWriter(CFileHandle& file) : file_(file), buffer_(kCapacity) {}

bool CBufferedWriter::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > buffer_.size() - used_ && !Flush()) return false;
  if (bytes.size() > buffer_.size()) return WriteAll(file_, bytes);
  std::memcpy(buffer_.data() + used_, bytes.data(), bytes.size());
  used_ += bytes.size();
  return true;
}

bool CBufferedWriter::Flush() {
  const std::size_t pending = used_;
  used_ = 0;
  return WriteAll(file_, {buffer_.data(), pending});
}

}  // namespace moldex

#include "platform/file_handle.h"

namespace moldex {

Result<std::size_t> CFileHandle::Read(std::span<std::uint8_t> buffer) {
  std::size_t done = 0;
  while (done < buffer.size()) {
    const auto count = ReadSome(buffer.subspan(done));
    if (!count) return count;
    if (*count == 0) break;
    done += *count;
  }
  return done;
}

Result<void> CFileHandle::ReadAll(std::span<std::uint8_t> buffer) {
  const auto count = Read(buffer);
  if (!count) return count.error();
  if (*count < buffer.size()) return SystemError{};
  return {};
}

Result<void> CFileHandle::WriteAll(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = WriteSome(bytes);
    if (!count) return count.error();
    if (*count == 0) return SystemError{};  // the system takes no more and does not say why
    bytes = bytes.subspan(*count);
  }
  return {};
}

}  // namespace moldex

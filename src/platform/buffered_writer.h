// Collects small writes to a file into large ones of equal size, however the bytes are cut into
// calls. Its destructor writes nothing: bytes after the last Flush are lost. The writer of archives
// uses it.
#ifndef MOLDEX_PLATFORM_BUFFERED_WRITER_H_
#define MOLDEX_PLATFORM_BUFFERED_WRITER_H_

#include <cstdint>
#include <span>
#include <vector>

#include "platform/file_handle.h"

namespace moldex {

class CBufferedWriter {
 public:
  // `file` stays the caller's and must outlive the writer. Others may move its position between
  // Flush and Write.
  explicit CBufferedWriter(CFileHandle& file);

  // Write and Flush fail when the system does not take all bytes. The bytes in the buffer are lost
  // then.
  Result<void> Write(std::span<const std::uint8_t> bytes);
  Result<void> Flush();
  // Forgets the bytes that the system was not given yet.
  void Drop() { used_ = 0; }
  std::size_t PendingBytes() const { return used_; }

 private:
  void Keep(std::span<const std::uint8_t> bytes);

  CFileHandle& file_;
  std::vector<std::uint8_t> buffer_;
  std::size_t used_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_BUFFERED_WRITER_H_

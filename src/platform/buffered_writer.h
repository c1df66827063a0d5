// Collects small writes to a file into large ones.
#ifndef MOLDEX_PLATFORM_BUFFERED_WRITER_H_
#define MOLDEX_PLATFORM_BUFFERED_WRITER_H_

#include <cstdint>
#include <span>
#include <vector>

#include "platform/file_handle.h"

namespace moldex {

class CBufferedWriter {
 public:
  // `file` stays the caller's and must outlive the writer; between Flush and Write its position
  // may be moved by others.
  explicit CBufferedWriter(CFileHandle& file);

  // False when the system wrote less than it was given; what follows is not written then.
  bool Write(std::span<const std::uint8_t> bytes);
  bool Flush();
  // Forgets what was not handed to the system yet.
  void Drop() { used_ = 0; }
  std::size_t PendingBytes() const { return used_; }

 private:
  CFileHandle& file_;
  std::vector<std::uint8_t> buffer_;
  std::size_t used_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_BUFFERED_WRITER_H_

// Writes a new file and leaves out blocks of zeros, so that they take no space where the file
// system can keep holes. The file's bytes and its size are the same either way. Extraction uses it.
#ifndef MOLDEX_PLATFORM_SPARSE_WRITER_H_
#define MOLDEX_PLATFORM_SPARSE_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/file_handle.h"

namespace moldex {

class CSparseWriter {
 public:
  // Blocks of this size, at multiples of it, become holes: file systems allot no smaller ones.
  // Zeros beside such a block, and at the end of a piece, are left out with it.
  static constexpr std::size_t kBlockBytes = 4096;

  // `file` stays the caller's and outlives the writer.
  explicit CSparseWriter(CFileHandle& file) : file_(file) {}

  // To be called for every new file; it is empty and its position is 0.
  void Begin() { position_ = hole_bytes_ = 0; }
  // Writes all bytes. Those of a hole at the end are not part of the file until Finish. Fails as
  // CFileHandle::WriteAll does.
  Result<void> Write(std::span<const std::uint8_t> bytes);
  // Gives the file the size of all that was written, also after Write has failed. Does nothing the
  // second time.
  Result<void> Finish();

 private:
  Result<void> WriteData(std::span<const std::uint8_t> bytes);
  Result<void> PassHole();

  CFileHandle& file_;
  std::uint64_t position_ = 0;    // of the next byte
  std::uint64_t hole_bytes_ = 0;  // before it, that were not written
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SPARSE_WRITER_H_

// Compresses the bytes of a file as they are read.
//
// A file is one compressed stream for each gigabyte of it. The output of a stream is cut into
// blocks where the output buffer is full; only the very last block of the entry is "ED".
#ifndef MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_
#define MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_

#include <span>

#include "archive/compress_strategy.h"

namespace moldex {

class CNormalCompress : public ICompressStrategy {
 public:
  explicit CNormalCompress(CompressionBuffers& buffers) : buffers_(buffers) {}

  // Throws CReadExcept when the file holds less than its header says, CCompExcept, CWriteExcept.
  void Compress(CContainer& archive) override;
  void SetEntry(CDirEntry* entry) override { entry_ = entry; }

 private:
  void CompressChunk(CContainer& archive, std::int32_t length, bool last);
  std::span<const std::uint8_t> ReadPiece(std::size_t length);

  CompressionBuffers& buffers_;
  CDirEntry* entry_ = nullptr;
  std::uint32_t checksum_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_

// Compresses the bytes of a file as they are read.
//
// A file is one compressed stream for each gigabyte of it. The output of a stream is cut into
// blocks where the output buffer is full; only the very last block of the entry is "ED".
//
// Readers of a long-name archive take a short file whose bytes happen to be a backup stream for
// one. Such a file is stored as a backup stream that holds nothing but it.
#ifndef MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_
#define MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_

#include <span>

#include "archive/compress_strategy.h"
#include "report/progress.h"

namespace moldex {

class CNormalCompress : public ICompressStrategy {
 public:
  // `long_names` is the mode of the archive.
  CNormalCompress(CompressionBuffers& buffers, CProgress& progress, bool long_names)
      : buffers_(buffers), progress_(progress), long_names_(long_names) {}

  // Throws CReadExcept when the file holds less than its header says, CCompExcept, CWriteExcept.
  void Compress(CArchiveWriter& archive) override;
  void SetEntry(CDirEntry* entry) override;

 private:
  void CompressAsBackupStream(CArchiveWriter& archive);
  void CompressChunk(CArchiveWriter& archive, std::int32_t length, bool last);
  std::span<const std::uint8_t> NextPiece(std::size_t length);
  std::span<const std::uint8_t> ReadPiece(std::size_t length);

  CompressionBuffers& buffers_;
  CProgress& progress_;
  bool long_names_;
  CDirEntry* entry_ = nullptr;
  std::span<const std::uint8_t> ready_;  // was read ahead of its turn
  bool as_backup_stream_ = false;
  std::uint32_t checksum_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_

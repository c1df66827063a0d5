// Compresses a file as its backup stream: its bytes, and what else the system keeps of it.
//
// Every piece of at most 65,536 bytes is a compressed stream of its own. The length of a backup
// stream is known at its end only, so that the size in the entry's header is set last.
#ifndef MOLDEX_ARCHIVE_BACKUP_COMPRESS_H_
#define MOLDEX_ARCHIVE_BACKUP_COMPRESS_H_

#include "archive/compress_strategy.h"
#include "report/progress.h"

namespace moldex {

class CBackupCompress : public ICompressStrategy {
 public:
  CBackupCompress(CompressionBuffers& buffers, CProgress& progress)
      : buffers_(buffers), progress_(progress) {}

  // Throws CReadExcept when the system stops delivering, CCompExcept, CWriteExcept,
  // CSetFilePointerExcept when the header is out of reach, and CExcept when the stream is longer
  // than the size in the header can say.
  void Compress(CArchiveWriter& archive) override;
  void SetEntry(CDirEntry* entry) override { entry_ = entry; }

 private:
  void CheckLength() const;
  std::size_t ReadPiece();
  std::size_t CompressPiece(CArchiveWriter& archive, std::size_t length);

  CompressionBuffers& buffers_;
  CProgress& progress_;
  CDirEntry* entry_ = nullptr;
  std::uint32_t checksum_ = 0;
  std::uint64_t total_bytes_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_BACKUP_COMPRESS_H_

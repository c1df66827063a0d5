// Compresses a file as its backup stream: its bytes, and what else the system keeps of it.
//
// Every piece of at most 65,536 bytes is a compressed stream of its own. The length of a backup
// stream is known at its end only, so that the size in the entry's header is set last.
#ifndef MOLDEX_ARCHIVE_BACKUP_COMPRESS_H_
#define MOLDEX_ARCHIVE_BACKUP_COMPRESS_H_

#include <optional>
#include <span>

#include "archive/compress_strategy.h"
#include "archive/data_blocks.h"

namespace moldex {

class CBackupCompress : public ICompressStrategy {
 public:
  explicit CBackupCompress(CompressionBuffers& buffers) : buffers_(buffers) {}

  void SetEntry(CDirEntry* entry) override;
  // Fails with CReadExcept when the system stops delivering, with CCompExcept, and with CExcept
  // when the stream is longer than the size in the header can say.
  bool Compress(CDataPiece& piece) override;

 private:
  void CheckLength() const;
  void ReadInput(CDataPiece& piece);
  void Finish(CDataPiece& piece);

  CompressionBuffers& buffers_;
  CDirEntry* entry_ = nullptr;
  bool is_begun_ = false;                // the first piece was read
  std::optional<CStreamWriter> stream_;  // of the current piece
  std::span<const std::uint8_t> input_;  // what the encoder has not taken yet
  std::uint32_t checksum_ = 0;
  std::uint64_t total_bytes_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_BACKUP_COMPRESS_H_

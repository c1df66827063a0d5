// Turns the contents of an entry into the data blocks of an archive: CNormalCompress from the bytes
// of a file, CBackupCompress from its backup stream. CCreate makes one strategy for all entries of
// a run.
#ifndef MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_
#define MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_

#include <array>
#include <cstdint>

#include "archive/archive_format.h"

namespace moldex {

class CArchiveWriter;
class CDirEntry;

// The buffers that serve every entry of a run, so that no entry allocates any.
struct CompressionBuffers {
  // A block: its header directly before its payload, so that both leave in one write.
  std::array<std::uint8_t, kBlockHeaderBytes + kLargestPayload> output;
  // A piece of the file.
  std::array<std::uint8_t, kLargestPayload> input;
};

class ICompressStrategy {
 public:
  virtual ~ICompressStrategy() = default;
  // Writes the data blocks and the checksum of the entry that was set.
  virtual void Compress(CArchiveWriter& archive) = 0;
  // Sets the entry whose data are next; it stays the caller's. May read its file, and set the size
  // for its header. Throws CReadExcept.
  virtual void SetEntry(CDirEntry* entry) = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_

// Turns the contents of an entry into the data blocks of an archive: CNormalCompress from the bytes
// of a file, CBackupCompress from its backup stream. CCreate makes one strategy for all entries of
// a run.
#ifndef MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_
#define MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_

#include <array>
#include <cstdint>

namespace moldex {

class CArchiveWriter;
class CDirEntry;

// The buffers that serve every entry of a run, so that no entry allocates any.
struct CompressionBuffers {
  static constexpr std::size_t kPieceBytes = 65536;
  static constexpr std::size_t kBlockHeaderRoom = 6;

  // A block's header stands directly in front of its payload, so that both leave in one write.
  std::array<std::uint8_t, kBlockHeaderRoom + kPieceBytes> output;
  std::array<std::uint8_t, kPieceBytes> input;
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

// Turns the contents of entries into the data blocks of an archive: CNormalCompress from the bytes
// of a file, CBackupCompress from its backup stream. CCreate chooses one for all entries of a run.
//
// A strategy works on a worker, for one entry after the other. It knows neither the archive nor
// the run: all it makes goes into pieces. Its failures are CDeferredFailure objects
// (report/deferred_failure.h).
#ifndef MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_
#define MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

#include "archive/archive_format.h"
#include "cscompr/stream_encoder.h"

namespace moldex {

class CDataPiece;
class CDirEntry;

// The encoder and the input buffer that a strategy needs. They serve many entries, so that no entry
// allocates any.
struct CompressionBuffers {
  // Space in front of a file that is read whole, for the head of a stream.
  static constexpr std::size_t kHeadSpace = 64;

  std::array<std::uint8_t, kHeadSpace + kLargestPayload> input;
  cscompr::StreamEncoder encoder;
};

class ICompressStrategy {
 public:
  virtual ~ICompressStrategy() = default;
  // Sets the entry whose data are next; it stays the caller's. May read its file, and set the size
  // for its header. Fails with CReadExcept.
  virtual void SetEntry(CDirEntry* entry) = 0;
  // Adds up to a block of the entry's data to a part of a piece that is not full, and after the
  // last block the checksum. Returns whether more follow.
  virtual bool Compress(CDataPiece& piece) = 0;
};

// The buffers outlive the strategy.
using StrategyMaker = std::function<std::unique_ptr<ICompressStrategy>(CompressionBuffers&)>;

// How a run makes the data of its entries.
struct CompressionMethod {
  StrategyMaker maker;
  bool stores_bytes;  // the data of a large file are its bytes, not a backup stream
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_COMPRESS_STRATEGY_H_

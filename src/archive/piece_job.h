// Compresses a large file with several workers at the same time. The data are those that one worker
// would make (normal_compress.h), byte for byte.
//
// A stream is cut into pieces, and each is a job (parallel/ordered_work.h). A job goes through five
// stages: it reads its bytes, makes tokens of them, joins these to the tokens of the piece before,
// codes them, and appends the bits to those of the piece before (cscompr/lzh/piece.h). All workers
// make and code tokens at the same time. The other stages take little time and go in the order of
// the pieces: each waits for its turn.
#ifndef MOLDEX_ARCHIVE_PIECE_JOB_H_
#define MOLDEX_ARCHIVE_PIECE_JOB_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "archive/data_piece.h"
#include "cscompr/lzh/piece.h"
#include "cscompr/lzh/piece_matcher.h"
#include "parallel/object_pool.h"
#include "parallel/ordered_work.h"

namespace moldex {

class CDirEntry;
struct PieceStream;

// The bytes, tokens and bits of one piece: about 0.8 MB, little of it in use when the bytes repeat.
struct PieceMemory {
  PieceMemory();

  // The history and the piece; later the bits, when the tokens are certain.
  std::unique_ptr<std::uint8_t[]> bytes;
  std::unique_ptr<cscompr::LzhToken[]> tokens;
  cscompr::LzhPiece piece;
  cscompr::LzhCodedPiece coded;
};

// The stages that the pieces of all files have to pass in order, and the memory that they share. It
// outlives the jobs.
class CPieceLine {
 public:
  // At most `most_pieces` have memory at the same time.
  explicit CPieceLine(unsigned most_pieces) : most_pieces_(most_pieces) {}

 private:
  friend class CPieceJob;

  const unsigned most_pieces_;
  std::uint64_t next_index_ = 0;  // for a new job
  // The index of the piece whose turn it is in each stage.
  std::atomic<std::uint64_t> to_read_ = 0;
  std::atomic<std::uint64_t> to_join_ = 0;
  std::atomic<std::uint64_t> to_append_ = 0;
  std::atomic<unsigned> pieces_with_memory_ = 0;
  CObjectPool<PieceMemory> memory_;
  CObjectPool<cscompr::LzhPieceMatcher> matchers_;
};

// Cuts one file, of at least a byte, into jobs.
class CPieceCutter {
 public:
  // The entry stays the caller's, who does not use its file until the last job has ended it.
  CPieceCutter(CPieceLine& line, CDirEntry& entry);

  // The next job, to be submitted before the one after it is asked for; null after the last.
  std::unique_ptr<IJob<CDataPiece>> Next();

 private:
  CPieceLine& line_;
  CDirEntry& entry_;
  const std::shared_ptr<std::uint32_t> checksum_;
  std::uint64_t left_;  // of the file, after the current stream
  std::shared_ptr<PieceStream> stream_;
  std::uint32_t begin_ = 0;  // of the next piece in the stream
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_PIECE_JOB_H_

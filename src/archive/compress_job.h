// Makes the data of some entries, one after the other, on a worker (parallel/ordered_work.h).
#ifndef MOLDEX_ARCHIVE_COMPRESS_JOB_H_
#define MOLDEX_ARCHIVE_COMPRESS_JOB_H_

#include <cstddef>
#include <exception>
#include <memory>
#include <vector>

#include "archive/compress_strategy.h"
#include "archive/data_piece.h"
#include "parallel/object_pool.h"
#include "parallel/ordered_work.h"

namespace moldex {

// Each worker that compresses uses one object of the pool.
using CompressionPool = CObjectPool<CompressionBuffers>;

class CCompressJob : public IJob<CDataPiece> {
 public:
  // The entries are prepared. Each stays the caller's, and is left alone from the piece on that
  // ends it; until then the caller does not use its file and its header. The pool and the maker of
  // the strategy outlive the job.
  CCompressJob(std::vector<CDirEntry*> entries, CompressionPool& pool, const StrategyMaker& maker)
      : entries_(std::move(entries)), pool_(pool), maker_(maker) {}

  // Gives at least a part to each piece. A failure comes after everything that was made before it.
  bool MakePiece(CDataPiece& piece) override;

 private:
  void Fill(CDataPiece& piece);
  void Step(CDataPiece& piece);

  std::vector<CDirEntry*> entries_;
  CompressionPool& pool_;
  const StrategyMaker& maker_;
  std::unique_ptr<CompressionBuffers> buffers_;  // while the job is under way
  std::unique_ptr<ICompressStrategy> strategy_;
  std::size_t current_ = 0;
  bool is_begun_ = false;  // the current entry
  std::exception_ptr failure_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_COMPRESS_JOB_H_

#include "archive/compress_job.h"

#include "archive/dir_entry.h"
#include "report/interrupt_status.h"

namespace moldex {

bool CCompressJob::MakePiece(CDataPiece& piece) {
  piece.Clear();
  if (failure_) std::rethrow_exception(failure_);
  try {
    Fill(piece);
  } catch (...) {
    if (piece.parts().empty()) throw;
    failure_ = std::current_exception();
    return true;
  }
  if (current_ < entries_.size()) return true;
  if (buffers_) pool_.Return(std::move(buffers_));
  return false;
}

// When the run is to end, a piece is handed over at once, so that the first thread notices.
void CCompressJob::Fill(CDataPiece& piece) {
  do {
    Step(piece);
  } while (current_ < entries_.size() && !piece.IsFull() && interrupt::status == 0);
}

// Adds a little of the current entry to the piece, or all of an entry without data.
void CCompressJob::Step(CDataPiece& piece) {
  CDirEntry& entry = *entries_[current_];
  const bool has_data = entry.HasDataToStore();
  if (has_data && !buffers_) {
    buffers_ = pool_.Borrow();
    strategy_ = maker_(*buffers_);
  }
  if (has_data && !is_begun_) strategy_->SetEntry(&entry);
  if (!is_begun_ || piece.parts().empty()) piece.BeginPart();
  is_begun_ = true;
  if (has_data && strategy_->Compress(piece)) return;
  (void)entry.file().Close();
  piece.EndEntry();
  is_begun_ = false;
  ++current_;
}

}  // namespace moldex

// The way of prepared entries into the archive, past the workers that compress their data.
//
// Entries come in, in their order, while others before them are still on their way; they arrive in
// the archive in that order. All that a user can see of an entry happens when its turn comes, on
// the thread that uses the queue, and so do the failures of its data. With one worker an entry is
// in the archive when Add returns.
#ifndef MOLDEX_ARCHIVE_ENTRY_QUEUE_H_
#define MOLDEX_ARCHIVE_ENTRY_QUEUE_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "archive/archive_writer.h"
#include "archive/compress_job.h"
#include "archive/compress_strategy.h"
#include "archive/dir_entry.h"
#include "archive/piece_job.h"
#include "parallel/ordered_work.h"
#include "run/run_context.h"

namespace moldex {

// An entry that is ready to be stored.
struct PreparedEntry {
  std::unique_ptr<CDirEntry> entry;
  std::string name;       // in the archive
  std::string utf8_name;  // the same in UTF-8
};

class CEntryQueue {
 public:
  // `context` and `archive` outlive the queue.
  CEntryQueue(CRunContext& context, CArchiveWriter& archive, CompressionMethod method,
              unsigned workers);
  // Drops what is on its way.
  ~CEntryQueue() = default;
  CEntryQueue(const CEntryQueue&) = delete;
  CEntryQueue& operator=(const CEntryQueue&) = delete;

  // These throw what an entry on its way fails with: CReadExcept, CCompExcept, CWriteExcept,
  // CSetFilePointerExcept, CExcept for a backup stream that is too long, and CInterruptExcept. The
  // queue is of no more use then.

  // Adds an entry. Writes what is ready, and waits while many entries are on their way.
  void Add(PreparedEntry entry);
  // Waits until all entries are in the archive.
  void Finish();

  // To be called before something that was noticed ahead of its turn is reported, and before a
  // failure that was is passed on: finishes the entries before it. The remembered error of the
  // system and the exit status are those of the failure afterwards. Does nothing on a queue that is
  // of no more use.
  void CatchUp();

  // To be called when a call of the system has failed. True when it failed for lack of free file
  // handles or memory, and entries on their way had some. They are finished then, and fewer will be
  // on their way from now on, so that it is worth trying again.
  bool FreeResources();

 private:
  using Work = COrderedWork<CDataPiece>;

  bool IsEmpty() const { return entries_.empty() && batch_.empty(); }
  bool IsForPieces(const CDirEntry& entry) const;
  void AddInPieces(PreparedEntry entry);
  void MakeSpace();
  void SubmitBatch();
  void TakePiece();
  Work::State Next(CDataPiece*& piece);
  void Announce();
  void WriteParts(const CDataPiece& piece);
  void WriteHeader();
  void EndEntry();

  CRunContext& context_;
  CArchiveWriter& archive_;
  const CompressionMethod method_;
  CompressionPool pool_;
  const bool in_pieces_;  // large files are compressed so
  CPieceLine pieces_;
  std::size_t batch_entries_;          // that a batch may have
  std::vector<PreparedEntry> batch_;   // gathers small entries
  std::uint64_t batch_bytes_ = 0;      // of the files and the user data in it
  std::deque<PreparedEntry> entries_;  // that were submitted, the next one first
  bool is_announced_ = false;          // the next one was
  bool has_header_ = false;            // its header is written
  std::uint32_t header_position_ = 0;
  int status_ = 0;  // exit status when the first entry on its way was added
  bool is_broken_ = false;
  Work work_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_QUEUE_H_

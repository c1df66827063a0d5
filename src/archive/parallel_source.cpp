#include "archive/parallel_source.h"

#include <cstdlib>
#include <utility>

#include "archive/long_entry_proof.h"
#include "platform/interrupt.h"
#include "report/deferred_failure.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// For each worker: enough jobs in reserve that it never waits; decoded bytes, so many that the
// others have something to do while one decodes a long entry; and the bytes of entries that wait.
constexpr std::size_t kJobsPerWorker = 2;
constexpr std::size_t kPieceBytesPerWorker = std::size_t{1536} * 1024;
constexpr std::size_t kWaitingBytesPerWorker = std::size_t{256} * 1024;

// Throws the failure of a worker, or one that was met ahead, now that its turn has come.
[[noreturn]] void Raise(const std::exception_ptr& failure) {
  RaisingAtOnce([&] { std::rethrow_exception(failure); });
  std::abort();
}

}  // namespace

CParallelSource::CParallelSource(CArchiveReader& reader, CProgress& progress, Plan plan)
    : reader_(reader),
      progress_(progress),
      plan_(std::move(plan)),
      most_waiting_bytes_(plan_.workers * kWaitingBytesPerWorker),
      work_(plan_.workers,
            {plan_.workers * kJobsPerWorker + 1, plan_.workers * kPieceBytesPerWorker}) {}

// --- Reading ahead.

// From a pipe only while there is nothing else to do: reading waits for its writer.
void CParallelSource::ReadAhead() {
  while (HasSpace()) {
    if (!plan_.is_regular && !work_.IsEmpty() && work_.IsReady()) return;
    ReadChunk();
  }
}

bool CParallelSource::HasSpace() {
  if (stop_ != Stop::kNone || waiting_bytes_ >= most_waiting_bytes_) return false;
  return open_job_ != nullptr ? open_job_->IsHungry() : work_.HasSpace();
}

// Reads on until there is enough for a worker, or a reason to stop. Messages show the error that
// the system gave last. So an error that is met here is not remembered before its turn, and the one
// that is remembered now does not get into a failure.
void CParallelSource::ReadChunk() {
  const CSystemErrorGuard guard;
  RestoreSystemError({});
  chunk_ = pools_.chunks.Borrow();
  chunk_->Clear();
  do {
    if (in_entry_) {
      ReadBlock();
    } else {
      ReadEntry();
    }
  } while (stop_ == Stop::kNone && !chunk_->IsFull() && waiting_bytes_ < most_waiting_bytes_);
  SubmitChunk();
}

void CParallelSource::ReadEntry() {
  const CDirEntry* entry = nullptr;
  try {
    entry = reader_.ReadEntry();
  } catch (const CDeferredFailure&) {
    failure_ = std::current_exception();
    stop_ = Stop::kEntry;
    return;
  }
  if (entry == nullptr) {
    stop_ = Stop::kEnd;
    return;
  }
  const bool is_wanted = plan_.wants(*entry);
  const bool is_long = is_wanted && IsLong(*entry);
  in_entry_ = is_wanted && entry->NeedsData() && !is_long;
  const auto user_data = entry->user_data();
  waiting_.push_back({entry->header(),
                      entry->GetName(),
                      {user_data.begin(), user_data.end()},
                      entry->NeedsData(),
                      in_entry_});
  waiting_bytes_ += waiting_.back().size_bytes();
  if (in_entry_) {
    chunk_->AddEntry(AnnouncedBy(*entry));
  } else if (is_long) {
    long_entry_ = entry;
    stop_ = Stop::kLong;
  } else if (is_wanted) {
    EndEntry();
  }
}

// The workers of the proof open the archive by its name, so it has to be a regular file.
bool CParallelSource::IsLong(const CDirEntry& entry) const {
  return !plan_.wants_bytes && plan_.is_regular && entry.NeedsData() &&
         entry.header().size_bytes() > plan_.stream_bytes;
}

void CParallelSource::ReadBlock() {
  try {
    const DataBlock block = reader_.parser().NextBlock();
    chunk_->AddBlock(block);
    in_entry_ = block.more_follow;
  } catch (const CDeferredFailure&) {
    chunk_->AddFailure(std::current_exception());
    in_entry_ = false;
    stop_ = Stop::kData;
    return;
  }
  if (!in_entry_) EndEntry();
}

void CParallelSource::EndEntry() {
  if (reader_.parser().BlockFollows()) stop_ = Stop::kSurplus;
}

void CParallelSource::SubmitChunk() {
  if (chunk_->IsEmpty()) {
    pools_.chunks.Return(std::move(chunk_));
  } else if (open_job_ != nullptr) {
    work_.Feed([this] { open_job_->AddChunk(std::move(chunk_), !in_entry_); });
  } else {
    auto job = std::make_unique<CDecodeJob>(pools_, plan_.wants_bytes);
    job->AddChunk(std::move(chunk_), !in_entry_);
    open_job_ = job.get();
    work_.Submit(std::move(job));
  }
  if (!in_entry_) open_job_ = nullptr;
}

// --- Taking.

CDirEntry* CParallelSource::NextEntry() {
  if (!reads_alone_) LeaveEntry();
  if (reads_alone_) return reader_.NextEntry();
  while (waiting_.empty() && stop_ == Stop::kNone)
    ReadChunk();
  if (!waiting_.empty()) return TakeEntry();
  if (stop_ == Stop::kEntry) Raise(failure_);
  return nullptr;
}

// Passes over the rest of the entry that the caller has.
void CParallelSource::LeaveEntry() {
  while (has_results_ && !waiting_.empty())
    has_results_ = NextPart().kind == CDecodedPiece::Part::kData;
  if (!waiting_.empty()) return;
  // It is the last one that was read. The reader passes over the rest of its blocks.
  DropJobs();
  if (stop_ == Stop::kSurplus || stop_ == Stop::kLong) stop_ = Stop::kNone;
  // Blocks that cannot be read are no reason to fail when nobody wants them.
  if (stop_ == Stop::kData) {
    reads_alone_ = true;
    RaisingAtOnce([this] { reader_.parser().ReturnToEntry(); });
  }
}

void CParallelSource::DropJobs() {
  while (!work_.IsEmpty())
    work_.Drop();
  open_job_ = nullptr;
  in_entry_ = false;
  has_results_ = false;
  piece_ = nullptr;
}

CDirEntry* CParallelSource::TakeEntry() {
  Waiting next = std::move(waiting_.front());
  waiting_.pop_front();
  waiting_bytes_ -= next.size_bytes();
  has_results_ = next.has_results;
  checksum_failure_ = nullptr;
  progress_.SetCurrentName(next.name);
  return entry_.Fill(next.header, next.name, next.user_data, next.needs_data);
}

DataPiece CParallelSource::NextPiece() {
  if (reads_alone_) return reader_.NextPiece();
  if (waiting_.empty() && stop_ == Stop::kLong) ProveLong();
  while (has_results_) {
    const CDecodedPiece::Part& part = NextPart();
    if (part.kind == CDecodedPiece::Part::kData) return part.data;
    has_results_ = false;
    if (part.kind == CDecodedPiece::Part::kFailure) Raise(part.failure);
    checksum_failure_ = part.failure;
    progress_.CountUnpacked(part.unpacked);
  }
  return {};
}

// Afterwards nothing of the entry is left to take, and the reader passes over its blocks. If it is
// not proved, its data are read in their order, which finds the failure that comes first.
void CParallelSource::ProveLong() {
  stop_ = Stop::kNone;
  const CArchiveParser& parser = reader_.parser();
  const LongEntry entry = {parser.archive_name(), reader_.identity(), parser.Position(),
                           long_entry_->header().size_bytes(), plan_.stream_bytes};
  if (const auto unpacked = ProveLongEntry(entry, plan_.workers, progress_)) {
    progress_.CountUnpacked(*unpacked);
  } else {
    BeginLong();
  }
}

void CParallelSource::BeginLong() {
  in_entry_ = true;
  has_results_ = true;
  chunk_ = pools_.chunks.Borrow();
  chunk_->Clear();
  chunk_->AddEntry(AnnouncedBy(*long_entry_));
  SubmitChunk();
}

void CParallelSource::CheckEnd() {
  if (reads_alone_) return reader_.CheckEnd();
  if (checksum_failure_) Raise(checksum_failure_);
  const bool is_last_read = waiting_.empty();
  if (is_last_read && stop_ == Stop::kSurplus)
    throw CExcept(SurplusDataFailure(reader_.parser().entry().name));
}

void CParallelSource::Rewind() {
  waiting_.clear();
  DropJobs();
  reads_alone_ = true;
  reader_.Rewind();
}

// Waits for it. The part is valid until the next call.
const CDecodedPiece::Part& CParallelSource::NextPart() {
  using State = COrderedWork<CDecodedPiece>::State;
  while (piece_ == nullptr || next_part_ == piece_->parts().size()) {
    piece_ = nullptr;
    next_part_ = 0;
    ReadAhead();
    const State state = work_.Next(piece_);
    ThrowIfInterrupted();
    if (state == State::kEnd) work_.Drop();
    if (state == State::kNeedsInput) ReadChunk();
  }
  return piece_->parts()[next_part_++];
}

}  // namespace moldex

// Work that several threads do and whose results one thread takes, in the order of submission.
//
// The first thread submits jobs and takes their results, piece by piece: all of the first job, then
// all of the second, and so on. Meanwhile workers run the jobs that wait. What they have made ahead
// is bounded. Where the process has one processor, and where the system gives it no thread, a job
// runs on the first thread when its result is asked for. The results are the same.
//
// It knows nothing of what the jobs do. Every function is for the first thread.
#ifndef MOLDEX_PARALLEL_ORDERED_WORK_H_
#define MOLDEX_PARALLEL_ORDERED_WORK_H_

#include <cstddef>
#include <deque>
#include <exception>
#include <list>
#include <memory>
#include <utility>

#include "parallel/worker_threads.h"

namespace moldex {

// A job that makes pieces of type Piece. A worker runs it, one at a time but not always the same.
// Two jobs share nothing that one of them changes, unless they guard it.
template <typename Piece>
class IJob {
 public:
  virtual ~IJob() = default;

  // Makes the next piece, of a size that is bounded, and returns whether more follow. `piece` is a
  // used one, whose memory serves again. Called without the lock. A failure may be any exception;
  // it comes out where the piece would have.
  virtual bool MakePiece(Piece& piece) = 0;

  // Whether the last call of MakePiece made a piece. Where it has not, it has prepared one, and
  // must have returned that more follow. It is called again once HasInput allows that.
  virtual bool MadePiece() const { return true; }

  // For a job whose input comes later: whether there is enough for the next piece. Input comes from
  // Feed, or from jobs before this one while they make pieces, but never from jobs after it. Input
  // that is there stays. Both are called with the lock held, TakeInput directly before MakePiece.
  virtual bool HasInput() const { return true; }
  virtual void TakeInput() {}
};

// `Piece` is default constructible and has `std::size_t size_bytes() const`, the memory it holds.
template <typename Piece>
class COrderedWork {
 public:
  struct Limits {
    std::size_t jobs;   // that are submitted and not dropped
    std::size_t bytes;  // of pieces that wait; jobs that run exceed it by a piece each
  };

  // With fewer than 2 workers no thread is made.
  COrderedWork(unsigned workers, Limits limits)
      : limits_(limits),
        threads_(workers > 1 ? workers : 0, [this](Lock& lock) { return RunOne(lock); }) {}
  // Drops all jobs. Waits for the pieces that are being made, and for nothing else.
  ~COrderedWork() { threads_.Stop(); }
  COrderedWork(const COrderedWork&) = delete;
  COrderedWork& operator=(const COrderedWork&) = delete;

  // Whether it is worth submitting a job before results are taken. On one processor that is so
  // only while there is no job.
  bool HasSpace() {
    const Lock lock = threads_.Acquire();
    const bool is_ahead = slots_.size() >= limits_.jobs || bytes_ >= limits_.bytes;
    return slots_.empty() || (threads_.AnyThreads() && !is_ahead);
  }

  void Submit(std::unique_ptr<IJob<Piece>> job) {
    Lock lock = threads_.Acquire();
    slots_.emplace_back(std::move(job));
    threads_.Employ(lock);
  }

  bool IsEmpty() const { return slots_.empty(); }

  // The job whose results are next. It may be running.
  IJob<Piece>& Front() { return *slots_.front().job; }

  // Whether Next would not have to wait.
  bool IsReady() {
    const Lock lock = threads_.Acquire();
    return slots_.front().HasResult();
  }

  enum class State { kPiece, kEnd, kNeedsInput };

  // Waits for the next piece of the front job. The piece is valid until the next call of Next or
  // Drop. kNeedsInput: the job waits for what Feed has to bring. Throws what the job threw.
  State Next(Piece*& piece);

  // Drops the front job and what it has left to do or to give.
  void Drop();

  // Runs `give` with the lock held: it gives input to jobs that were submitted.
  template <typename Give>
  void Feed(Give give) {
    const Lock lock = threads_.Acquire();
    give();
    threads_.WakeOne();
  }

 private:
  using Lock = CWorkerThreads::Lock;

  struct Slot {
    explicit Slot(std::unique_ptr<IJob<Piece>> its_job) : job(std::move(its_job)) {}
    bool HasResult() const { return !pieces.empty() || is_done; }
    bool CanRun() const { return !is_running && !is_done && job->HasInput(); }
    bool NeedsInput() const { return !is_running && !HasResult() && !job->HasInput(); }

    std::unique_ptr<IJob<Piece>> job;
    std::list<Piece> pieces;
    bool is_running = false;
    bool is_done = false;
    std::exception_ptr failure;  // comes after the pieces
  };

  bool RunOne(Lock& lock);
  Slot* FindRunnable();
  void Run(Slot& slot, Lock& lock);
  void Release(std::size_t bytes);

  const Limits limits_;
  std::deque<Slot> slots_;
  std::list<Piece> taken_;  // the piece that the caller has
  std::list<Piece> free_;
  std::size_t bytes_ = 0;  // of the pieces in the slots
  CWorkerThreads threads_;
};

template <typename Piece>
typename COrderedWork<Piece>::State COrderedWork<Piece>::Next(Piece*& piece) {
  Lock lock = threads_.Acquire();
  free_.splice(free_.begin(), taken_);
  Slot& slot = slots_.front();
  while (!slot.HasResult()) {
    if (slot.NeedsInput()) return State::kNeedsInput;
    if (threads_.AnyThreads()) {
      threads_.WaitForProgress(lock);
    } else {
      Run(slot, lock);
    }
  }
  if (slot.pieces.empty()) {
    if (slot.failure) std::rethrow_exception(std::exchange(slot.failure, nullptr));
    return State::kEnd;
  }
  taken_.splice(taken_.begin(), slot.pieces, slot.pieces.begin());
  piece = &taken_.front();
  Release(piece->size_bytes());
  return State::kPiece;
}

template <typename Piece>
void COrderedWork<Piece>::Drop() {
  Lock lock = threads_.Acquire();
  Slot& slot = slots_.front();
  slot.is_done = true;  // so that nobody begins another piece of it
  while (slot.is_running)
    threads_.WaitForProgress(lock);
  std::size_t bytes = 0;
  for (const Piece& piece : slot.pieces)
    bytes += piece.size_bytes();
  free_.splice(free_.begin(), slot.pieces);
  free_.splice(free_.begin(), taken_);
  slots_.pop_front();
  Release(bytes);
}

// The front job has fewer pieces now, or there is another one.
template <typename Piece>
void COrderedWork<Piece>::Release(std::size_t bytes) {
  const bool was_full = bytes_ >= limits_.bytes;
  bytes_ -= bytes;
  if (was_full && bytes_ < limits_.bytes) {
    threads_.WakeAll();
  } else if (was_full) {
    threads_.WakeOne();
  }
}

template <typename Piece>
bool COrderedWork<Piece>::RunOne(Lock& lock) {
  Slot* const slot = FindRunnable();
  if (slot == nullptr) return false;
  Run(*slot, lock);
  return true;
}

// The earliest job goes first: its results are wanted first, and few jobs are unfinished then. The
// front job may always make a piece that somebody waits for.
template <typename Piece>
typename COrderedWork<Piece>::Slot* COrderedWork<Piece>::FindRunnable() {
  const bool has_space = bytes_ < limits_.bytes;
  for (Slot& slot : slots_) {
    const bool is_wanted = &slot == &slots_.front() && slot.pieces.empty();
    if (!has_space && !is_wanted) return nullptr;
    if (slot.CanRun()) return &slot;
  }
  return nullptr;
}

template <typename Piece>
void COrderedWork<Piece>::Run(Slot& slot, Lock& lock) {
  slot.is_running = true;
  slot.job->TakeInput();
  std::list<Piece> made;
  if (!free_.empty()) made.splice(made.begin(), free_, free_.begin());
  lock.unlock();
  bool more = false;
  std::exception_ptr failure;
  try {
    if (made.empty()) made.emplace_back();
    more = slot.job->MakePiece(made.front());
  } catch (...) {
    failure = std::current_exception();
  }
  lock.lock();
  slot.failure = failure;
  if (failure || !slot.job->MadePiece()) {
    free_.splice(free_.begin(), made);
    threads_.WakeOne();  // another job may have waited for this one
  } else {
    bytes_ += made.front().size_bytes();
    slot.pieces.splice(slot.pieces.end(), made);
  }
  slot.is_running = false;
  slot.is_done = slot.is_done || !more;
  const bool is_awaited = &slot == &slots_.front();
  if (is_awaited && (slot.HasResult() || slot.NeedsInput())) threads_.ReportProgress();
}

}  // namespace moldex

#endif  // MOLDEX_PARALLEL_ORDERED_WORK_H_

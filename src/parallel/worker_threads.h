// Threads that do what a source of work gives them, until they are told to end. They take no
// signals. COrderedWork is the only such source.
#ifndef MOLDEX_PARALLEL_WORKER_THREADS_H_
#define MOLDEX_PARALLEL_WORKER_THREADS_H_

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace moldex {

class CWorkerThreads {
 public:
  using Lock = std::unique_lock<std::mutex>;

  // `run_one` is called on a worker with the lock held. It does one part of the work, without the
  // lock, and returns true with the lock held; false when there is nothing to do. It throws
  // nothing. No thread is made yet.
  CWorkerThreads(unsigned most_threads, std::function<bool(Lock&)> run_one);
  // Lets every thread end what it is doing, and waits for it.
  ~CWorkerThreads();
  CWorkerThreads(const CWorkerThreads&) = delete;
  CWorkerThreads& operator=(const CWorkerThreads&) = delete;

  // Guards the work. The threads hold it while they look for some.
  Lock Acquire() { return Lock(mutex_); }

  // There is more to do. Wakes a thread, or makes one if all are busy and there are fewer than may
  // be.
  void Employ(Lock& lock);

  // A part of the work that had to wait can be done, or several.
  void WakeOne() { work_.notify_one(); }
  void WakeAll() { work_.notify_all(); }

  // Waits until a worker calls ReportProgress, on the first thread.
  void WaitForProgress(Lock& lock);
  void ReportProgress() {
    if (waiting_) progress_.notify_one();
  }

  // Ends and joins all threads. Call it before what they work on is gone. Does nothing the second
  // time.
  void Stop();

  // False when no thread could be made, so that the caller has to do the work itself.
  bool AnyThreads() const { return !threads_.empty(); }

 private:
  void Loop();

  std::function<bool(Lock&)> run_one_;
  std::size_t most_threads_;
  std::mutex mutex_;
  std::condition_variable work_;
  std::condition_variable progress_;
  std::size_t idle_ = 0;
  bool stopping_ = false;
  bool waiting_ = false;  // the first thread is, for progress
  std::vector<std::thread> threads_;
};

}  // namespace moldex

#endif  // MOLDEX_PARALLEL_WORKER_THREADS_H_

#include "parallel/worker_threads.h"

#include <system_error>
#include <utility>

#include "parallel/signals.h"

namespace moldex {

CWorkerThreads::CWorkerThreads(unsigned most_threads, std::function<bool(Lock&)> run_one)
    : run_one_(std::move(run_one)), most_threads_(most_threads) {
  threads_.reserve(most_threads_);
}

CWorkerThreads::~CWorkerThreads() { Stop(); }

void CWorkerThreads::Stop() {
  {
    const Lock lock = Acquire();
    stopping_ = true;
  }
  work_.notify_all();
  for (std::thread& thread : threads_)
    thread.join();
  threads_.clear();
}

void CWorkerThreads::Employ(Lock& lock) {
  if (idle_ > 0) {
    work_.notify_one();
    return;
  }
  if (threads_.size() == most_threads_) return;
  lock.unlock();
  try {
    internal::MakeWithoutSignals([this] { threads_.emplace_back([this] { Loop(); }); });
  } catch (const std::system_error&) {  // the system has no more to give
    most_threads_ = threads_.size();
  }
  lock.lock();
}

void CWorkerThreads::WaitForProgress(Lock& lock) {
  waiting_ = true;
  progress_.wait(lock);
  waiting_ = false;
}

void CWorkerThreads::Loop() {
  Lock lock = Acquire();
  while (!stopping_) {
    if (run_one_(lock)) continue;
    ++idle_;
    work_.wait(lock);
    --idle_;
  }
}

}  // namespace moldex

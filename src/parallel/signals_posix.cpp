#include <csignal>

#include "parallel/signals.h"

namespace moldex::internal {
namespace {

// A new thread has the mask of the one that makes it.
class CBlockedSignals {
 public:
  CBlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    (void)pthread_sigmask(SIG_BLOCK, &all, &former_);
  }
  ~CBlockedSignals() { (void)pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
  CBlockedSignals(const CBlockedSignals&) = delete;
  CBlockedSignals& operator=(const CBlockedSignals&) = delete;

 private:
  sigset_t former_{};
};

}  // namespace

void MakeWithoutSignals(const std::function<void()>& make) {
  const CBlockedSignals blocked;
  make();
}

}  // namespace moldex::internal

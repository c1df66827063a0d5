// A failure that is noticed on a worker, or ahead of its turn.
//
// A CExcept sets the exit status and takes the system's error into its message when it is made, so
// it may be made only on the first thread, and only when its turn has come. Until then this object
// stands for it. Code that may run on a worker throws it by FailLater.
#ifndef MOLDEX_REPORT_DEFERRED_FAILURE_H_
#define MOLDEX_REPORT_DEFERRED_FAILURE_H_

#include <cstdlib>
#include <functional>
#include <utility>

#include "report/except.h"
#include "report/system_error.h"

namespace moldex {

class CDeferredFailure {
 public:
  // `raise` throws the failure itself, which says `text`. Keeps the error that this thread
  // remembers, if any.
  CDeferredFailure(FailureText text, std::function<void()> raise)
      : text_(std::move(text)), error_(LastSystemError()), raise_(std::move(raise)) {}

  const FailureText& text() const { return text_; }
  // The system's error that belongs to it.
  const SystemError& error() const { return error_; }

  // Throws the failure, with the error that belongs to it; without one, with the error that the
  // first thread remembers. For the first thread.
  [[noreturn]] void Raise() const {
    if (error_.code != 0 || error_.errno_value != 0) RestoreSystemError(error_);
    raise_();
    std::abort();  // `raise` has to throw
  }

 private:
  FailureText text_;
  SystemError error_;
  std::function<void()> raise_;
};

// Throws a CDeferredFailure that raises a Failure made of these arguments, of which it keeps
// copies.
template <typename Failure, typename... Arguments>
[[noreturn]] void FailLater(Arguments... arguments) {
  throw CDeferredFailure(Failure::Text(arguments...),
                         [arguments...] { throw Failure(arguments...); });
}

// The same for a failure without a type of its own.
[[noreturn]] inline void FailLater(const FailureText& text) {
  throw CDeferredFailure(text, [text] { throw CExcept(text); });
}

// Does work whose failures may be deferred, and throws them at once. For the first thread.
template <typename Work>
auto RaisingAtOnce(Work work) {
  try {
    return work();
  } catch (const CDeferredFailure& failure) {
    failure.Raise();
  }
}

}  // namespace moldex

#endif  // MOLDEX_REPORT_DEFERRED_FAILURE_H_

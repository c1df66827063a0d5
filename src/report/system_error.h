// The operating system's error for its last failed call.
//
// Platform code remembers the error right after a call fails. Messages that are made later show it,
// whatever the runtime library has done in between. Each thread remembers its own; at the start
// there is none.
#ifndef MOLDEX_REPORT_SYSTEM_ERROR_H_
#define MOLDEX_REPORT_SYSTEM_ERROR_H_

#include <cstdint>
#include <string>

namespace moldex {

struct SystemError {
  std::uint32_t code = 0;  // the system's own number; 0 for no error
  int errno_value = 0;     // the runtime library's number for it
};

// Remembers the error of the call that failed just before, and returns it. Platform code calls this
// on every failure that its caller may report.
const SystemError& RememberSystemError();

// Remembers a given errno value, where the platform code itself refuses a file, and returns it.
const SystemError& RememberErrno(int errno_value);

const SystemError& LastSystemError();

// Restores an earlier error, once the failure of a later call has been made up for.
void RestoreSystemError(const SystemError& error);

// Restores the remembered error when it goes out of scope, for calls whose failure is an ordinary
// answer.
class CSystemErrorGuard {
 public:
  CSystemErrorGuard() : error_(LastSystemError()) {}
  ~CSystemErrorGuard() { RestoreSystemError(error_); }
  CSystemErrorGuard(const CSystemErrorGuard&) = delete;
  CSystemErrorGuard& operator=(const CSystemErrorGuard&) = delete;

 private:
  SystemError error_;
};

// The system's sentence for an error; empty when there is none.
std::string SystemErrorText(const SystemError& error);
// The same for the last error.
std::string LastSystemErrorText();

}  // namespace moldex

#endif  // MOLDEX_REPORT_SYSTEM_ERROR_H_

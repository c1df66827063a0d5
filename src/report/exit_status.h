// The status that the process ends with. It starts at 0, and the last writer wins. Every failure
// that carries a code sets the status when the failure is made, even if the program survives it.
#ifndef MOLDEX_REPORT_EXIT_STATUS_H_
#define MOLDEX_REPORT_EXIT_STATUS_H_

namespace moldex {

void SetExitStatus(int status);
int ExitStatus();

// Restores the exit status when it goes out of scope, for code that survives failures which do not
// concern the run.
class CExitStatusGuard {
 public:
  CExitStatusGuard() : status_(ExitStatus()) {}
  ~CExitStatusGuard() { SetExitStatus(status_); }
  CExitStatusGuard(const CExitStatusGuard&) = delete;
  CExitStatusGuard& operator=(const CExitStatusGuard&) = delete;

 private:
  int status_;
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_EXIT_STATUS_H_

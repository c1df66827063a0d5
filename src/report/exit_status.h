// The status that the process ends with. It starts at 0 and the last writer wins; every failure
// that carries a code writes it when it is made, also when it is survived later.
#ifndef MOLDEX_REPORT_EXIT_STATUS_H_
#define MOLDEX_REPORT_EXIT_STATUS_H_

namespace moldex {

void SetExitStatus(int status);
int ExitStatus();

// Puts the exit status back at its end, for whoever survives failures that are none of the run's.
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

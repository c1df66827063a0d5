// The status that the process ends with. It starts at 0 and the last writer wins; every failure
// that carries a code writes it when it is made, also when it is survived later.
#ifndef MOLDEX_REPORT_EXIT_STATUS_H_
#define MOLDEX_REPORT_EXIT_STATUS_H_

namespace moldex {

void SetExitStatus(int status);
int ExitStatus();

}  // namespace moldex

#endif  // MOLDEX_REPORT_EXIT_STATUS_H_

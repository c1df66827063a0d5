// The failure that was printed last. At the end of the run driver/hint.h looks it up for a hint on
// the next step. There is one per process.
#ifndef MOLDEX_REPORT_LAST_FAILURE_H_
#define MOLDEX_REPORT_LAST_FAILURE_H_

namespace moldex {

// Failures that have no number of their own among the error codes.
enum FailureKind : int {
  kFailureNone = 0,
  kFailureInvalidArchive = -1,
  kFailureDamagedData = -2,
  kFailureNamesNotFound = -3,
  kFailureShortArchive = -4  // shorter than its header
};

struct PrintedFailure {
  int what = kFailureNone;  // an ErrorCode or a FailureKind
  int errno_value = 0;      // of the system's error that the message ends with; 0 for none
};

void NoteFailure(PrintedFailure failure);
const PrintedFailure& LastFailure();

}  // namespace moldex

#endif  // MOLDEX_REPORT_LAST_FAILURE_H_

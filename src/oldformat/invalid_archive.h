// What becomes of an archive that no reader of this program knows.
#ifndef MOLDEX_OLDFORMAT_INVALID_ARCHIVE_H_
#define MOLDEX_OLDFORMAT_INVALID_ARCHIVE_H_

#include <string>

#include "report/except.h"
#include "report/exit_status.h"
#include "run/run_context.h"

namespace moldex {

// Prints the message and makes the run end with status 40.
inline void ReportInvalidArchive(CRunContext& context, const std::string& archive_name) {
  CInvalExcept failure(archive_name);
  context.log().PrintInfo(failure);
  SetExitStatus(kErrorOldFormat);
}

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_INVALID_ARCHIVE_H_

// The command merge (-m).
#ifndef MOLDEX_COMMANDS_MERGE_H_
#define MOLDEX_COMMANDS_MERGE_H_

#include <string>

#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// Appends the entries of the first archive of -f to the second, by copying all bytes after its
// header. Neither file is checked: the merge trusts its user. When a failure ends the command, the
// target is cut back to what it was; if that fails, too, the message says so.
class CMerge : public CCommand {
 public:
  explicit CMerge(CRunContext& context) : context_(context) {}

  // Throws CExcept for anything but two archives, and for an archive that is to be merged with
  // itself; COpenExcept, CReadExcept, CWriteExcept and CInterruptExcept.
  void Execute() override;

 private:
  CRunContext& context_;
};

}  // namespace moldex

#endif  // MOLDEX_COMMANDS_MERGE_H_

// The command scan (-l).
#ifndef MOLDEX_COMMANDS_SCAN_H_
#define MOLDEX_COMMANDS_SCAN_H_

#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// Checks whether everything exists that a creation would take: the operands and the names of the -A
// file, less those of the -X file, each as it is given, without patterns and without descending
// into directories. The missing ones are listed in "files.log" in the current directory, which is
// made anew by every scan. The exit status stays as it is.
class CScan : public CCommand {
 public:
  explicit CScan(CRunContext& context) : context_(context) {}

  // Throws COpenExcept when "files.log" cannot be opened.
  void Execute() override;

 private:
  CRunContext& context_;
};

}  // namespace moldex

#endif  // MOLDEX_COMMANDS_SCAN_H_

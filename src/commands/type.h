// The command list (-t).
#ifndef MOLDEX_COMMANDS_TYPE_H_
#define MOLDEX_COMMANDS_TYPE_H_

#include <string>

#include "commands/entry_selection.h"
#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// Prints a line for every selected entry of every archive of -f. An archive that cannot be opened
// is reported, one of another format goes to the old-format command; the run goes on with the next.
class CType : public CCommand {
 public:
  explicit CType(CRunContext& context);

  void Execute() override;

 private:
  void ListArchive(const std::string& name);

  CRunContext& context_;
  CEntrySelection selection_;
};

}  // namespace moldex

#endif  // MOLDEX_COMMANDS_TYPE_H_

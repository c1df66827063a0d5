// The command list (-t).
#ifndef MOLDEX_COMMANDS_TYPE_H_
#define MOLDEX_COMMANDS_TYPE_H_

#include <optional>
#include <string>

#include "commands/space_info.h"
#include "extraction/entry_selection.h"
#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// Prints a line for every selected entry of every archive of -f, and with -s a report of the space
// that extracting them takes. An archive that cannot be opened is reported; one of another format
// goes to the old-format command, and there is no report then. The run goes on with the next.
class CType : public CCommand {
 public:
  explicit CType(CRunContext& context);

  void Execute() override;

 private:
  void ListArchive(const std::string& name);

  CRunContext& context_;
  CEntrySelection selection_;
  std::optional<CSpaceInfo> space_;
};

}  // namespace moldex

#endif  // MOLDEX_COMMANDS_TYPE_H_

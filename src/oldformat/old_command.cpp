#include "oldformat/old_command.h"

#include "report/except.h"
#include "report/exit_status.h"

namespace moldex {

void WithOldArchive(CRunContext& context, const std::string& name,
                    const std::function<void(COldArchive&, CEntrySelection&)>& work) {
  try {
    COldArchive archive(context, name);
    CEntrySelection selection(context.options().file_names, context.sought_names());
    context.log().PrintMessage("MOLDEX: processing archive " + name + "...");
    work(archive, selection);
  } catch (const CInterruptExcept&) {
    throw;
  } catch (CExcept& failure) {
    context.log().PrintInfo(failure);
    SetExitStatus(kErrorOldFormat);
  }
}

}  // namespace moldex

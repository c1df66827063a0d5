#include "oldformat/old_command.h"

#include "oldformat/old_options.h"
#include "report/except.h"
#include "report/exit_status.h"

namespace moldex {

void WithOldArchive(CRunContext& context, const std::string& name,
                    const std::function<void(COldArchive&, const CCmdLineOptions&)>& work) {
  try {
    const CCmdLineOptions& given = context.options();
    const CCmdLineOptions options = ParseOldOptions(given.argument_count, given.arguments);
    COldArchive archive(context, name, options);
    context.log().PrintMessage("MOLDEX: processing archive " + name + "...");
    work(archive, options);
  } catch (const CInterruptExcept&) {
    throw;
  } catch (CExcept& failure) {
    context.log().PrintInfo(failure);
    SetExitStatus(kErrorOldFormat);
  }
}

}  // namespace moldex

// The common part of the commands on archives of old formats.
#ifndef MOLDEX_OLDFORMAT_OLD_COMMAND_H_
#define MOLDEX_OLDFORMAT_OLD_COMMAND_H_

#include <functional>
#include <string>

#include "extraction/entry_selection.h"
#include "oldformat/old_archive.h"
#include "run/run_context.h"

namespace moldex {

// Opens the archive and has the work done on it, with the names of the command line as selection;
// names of an -A file select nothing here. A failure, also that of an archive in no known format,
// is printed and makes the run end with status 40, but the run goes on. Throws only
// CInterruptExcept.
void WithOldArchive(CRunContext& context, const std::string& name,
                    const std::function<void(COldArchive&, CEntrySelection&)>& work);

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_OLD_COMMAND_H_

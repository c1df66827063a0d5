// What the commands on archives of old formats have in common.
#ifndef MOLDEX_OLDFORMAT_OLD_COMMAND_H_
#define MOLDEX_OLDFORMAT_OLD_COMMAND_H_

#include <functional>
#include <string>

#include "oldformat/old_archive.h"
#include "run/run_context.h"

namespace moldex {

// Opens the archive with the options that count for such ones and has the work done. A failure,
// that of an archive in no known format included, is printed and makes the run end with status 40,
// but the run goes on; only an interruption leaves this function.
void WithOldArchive(CRunContext& context, const std::string& name,
                    const std::function<void(COldArchive&, const CCmdLineOptions&)>& work);

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_OLD_COMMAND_H_

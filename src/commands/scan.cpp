#include "commands/scan.h"

#include "platform/file_services.h"
#include "platform/interrupt.h"
#include "report/except.h"

namespace moldex {
namespace {

constexpr char kMissingLog[] = "files.log";

}  // namespace

void CScan::Execute() {
  CConsoleLogMan& log = context_.log();
  const int handle = log.OpenLog(kMissingLog);
  if (handle < 0) throw COpenExcept(kMissingLog);
  log.WriteLog(handle, "# MOLDEX: list of missing files");
  log.WriteLog(handle, "# ==========================");
  bool missing = false;
  for (const std::string& name : context_.options().NameList()) {
    ThrowIfInterrupted();
    if (context_.options().IsExcluded(name) || QueryStatus(name)) continue;
    log.WriteLog(handle, name);
    missing = true;
  }
  if (missing) {
    log.PrintMessage(std::string("MOLDEX: some files are missing. See ") + kMissingLog);
  }
}

}  // namespace moldex

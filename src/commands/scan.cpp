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
  CProgress& progress = context_.progress();
  bool missing = false;
  const std::vector<std::string> names = context_.options().NameList();
  progress.SetTotal(names.size(), CProgress::Unit::kNames);
  for (const std::string& name : names) {
    ThrowIfInterrupted();
    progress.SetCurrentName(name);
    progress.Advance(1);
    if (context_.options().IsExcluded(name) || QueryStatus(name)) continue;
    log.WriteLog(handle, name);
    missing = true;
  }
  if (missing) {
    log.PrintMessage(std::string("MOLDEX: some files are missing. See ") + kMissingLog);
  }
}

}  // namespace moldex

#include "commands/scan.h"

#include "platform/file_services.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/status_line.h"

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
  const std::vector<std::string> names = context_.options().NameList();
  status_line::HasTotal(names.size(), status_line::Unit::kNames);
  for (const std::string& name : names) {
    ThrowIfInterrupted();
    status_line::IsAt(name);
    status_line::DidMore(1);
    if (context_.options().IsExcluded(name) || QueryStatus(name)) continue;
    log.WriteLog(handle, name);
    missing = true;
  }
  if (missing) {
    log.PrintMessage(std::string("MOLDEX: some files are missing. See ") + kMissingLog);
  }
}

}  // namespace moldex

#include "driver/run.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include "archive/create.h"
#include "commands/extract.h"
#include "commands/merge.h"
#include "commands/scan.h"
#include "commands/type.h"
#include "driver/text_target.h"
#include "driver/version.h"
#include "platform/file_services.h"
#include "platform/security.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/output.h"
#include "report/system_error.h"

namespace moldex {
namespace {

std::unique_ptr<CCommand> MakeCommand(CRunContext& context) {
  switch (context.command_code()) {
    case kCommandCreate:
    case kCommandAppend:
      return std::make_unique<CCreate>(context);
    case kCommandVerify:
    case kCommandExtract:
      return std::make_unique<CExtract>(context);
    case kCommandList:
      return std::make_unique<CType>(context);
    case kCommandMerge:
      return std::make_unique<CMerge>(context);
    case kCommandScan:
      return std::make_unique<CScan>(context);
    default:
      throw CExcept("MOLDEX: no valid command given", kErrorNoCommand, false);
  }
}

// The size of the archive that create or append writes, and 0 where that is no file. A new archive
// replaces what is there before the run.
std::uint64_t SizeOfArchive(const CRunContext& context) {
  if (!IsOneOf(context.command_code(), kEntryWriters)) return 0;
  const CSystemErrorGuard guard;
  const auto status = QueryStatus(context.archive_path());
  return status && status->kind == FileKind::kRegular ? status->size_bytes : 0;
}

// Executes the command and shows its progress.
void Execute(CRunContext& context) {
  CShownProgress progress(context.progress(), !context.options().verbose);
  const bool appends = context.command_code() == kCommandAppend;
  const std::uint64_t former_size = appends ? SizeOfArchive(context) : 0;
  MakeCommand(context)->Execute();
  FlushOutput();
  const std::uint64_t size = SizeOfArchive(context);
  progress.LeaveFigures(size > former_size ? size - former_size : 0);
}

// The end of a command that had to leave inaccessible files out of the archive.
void ReportLeftOutFiles(CRunContext& context) {
  if (context.options().redirect_output) {
    context.log().PrintMessage(
        "MOLDEX: some files could not be accessed (see MOLDEX.log for details)");
  }
  SetExitStatus(kErrorInaccessible);
  if (!context.options().ignore_inaccessible) NoteFailure({kErrorInaccessible, 0});
}

}  // namespace

void Run(CRunContext& context) {
  const std::time_t start = std::time(nullptr);
  CCmdLineOptions& options = context.options();
  DirectText(options);
  options.ReadNameLists();
  options.CheckOptions();
  context.SetLongNames(options.long_names);
  context.FixArchiveName();
  if (options.statistics) {
    context.log().PrintMessage(std::string("running MOLDEX in release ") + ReleaseString());
  }
  if (options.acl) {
    const auto acquired = AcquirePrivileges();
    if (!acquired) throw CAddPrivilegeExcept(acquired.error().what);
  }
  context.set_command_code(options.command_code);
  Execute(context);
  context.sought_names().HintAtMissing();
  if (IsOneOf(context.command_code(), kEntryWriters) && context.files_inaccessible()) {
    ReportLeftOutFiles(context);
  }
  if (options.statistics) {
    context.statistics().SetElapsed(static_cast<std::int32_t>(std::time(nullptr) - start));
    context.log().PrintInfo(context.statistics());
  }
}

}  // namespace moldex

#include "driver/run.h"

#include <cstdio>
#include <ctime>
#include <memory>

#include "archive/create.h"
#include "commands/extract.h"
#include "commands/merge.h"
#include "commands/scan.h"
#include "commands/type.h"
#include "driver/version.h"
#include "platform/file_services.h"
#include "platform/security.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/status_line.h"

namespace moldex {
namespace {

constexpr char kRedirectFile[] = "moldex_output";

// freopen closes the stream before it opens the file: try the file first, so that the console is
// still there when it fails.
void RedirectOutput() {
  std::FILE* file = std::fopen(kRedirectFile, "w+");
  if (file != nullptr) std::fclose(file);
  if (file != nullptr && std::freopen(kRedirectFile, "w+", stdout) != nullptr) return;
  std::fputs("MOLDEX: could not redirect stdout to file moldex_output\n", stderr);
}

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

bool WritesArchive(int command_code) {
  return command_code == kCommandCreate || command_code == kCommandAppend;
}

// What follows when a command that writes an archive had to leave files out.
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
  if (options.redirect_output) RedirectOutput();
  options.ReadNameLists();
  options.CheckOptions();
  context.SetLongNames(options.long_names);
  context.FixArchiveName();
  if (options.statistics) {
    context.log().PrintMessage(std::string("running MOLDEX in release ") + ReleaseString());
  }
  std::string why;
  if (options.acl && !AcquirePrivileges(&why)) throw CAddPrivilegeExcept(why);
  context.set_command_code(options.command_code);
  const CStatusLine progress(!options.verbose);
  MakeCommand(context)->Execute();
  if (WritesArchive(context.command_code()) && context.files_inaccessible()) {
    ReportLeftOutFiles(context);
  }
  if (options.statistics) {
    context.statistics().SetElapsed(static_cast<std::int32_t>(std::time(nullptr) - start));
    context.log().PrintInfo(context.statistics());
  }
}

}  // namespace moldex

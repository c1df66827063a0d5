#include "archive/create.h"

#include <cerrno>
#include <cstring>

#include "archive/backup_compress.h"
#include "archive/byte_count.h"
#include "archive/entry_adder.h"
#include "archive/entry_queue.h"
#include "archive/normal_compress.h"
#include "archive/workers.h"
#include "platform/file_services.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/hints.h"
#include "report/output.h"
#include "report/progress.h"
#include "report/system_error.h"

namespace moldex {

CCreate::CCreate(CRunContext& context)
    : context_(context),
      options_(context.options()),
      appending_(context.command_code() == kCommandAppend) {}

CCreate::~CCreate() = default;

void CCreate::Execute() {
  // Checked first, so that no existing archive is lost to a run that cannot succeed.
  const char* directory = options_.change_directory;
  if (directory != nullptr && !CanEnterDirectory(directory)) throw CChgDirExcept(directory);
  OpenArchive();
  try {
    WriteArchive();
  } catch (CExcept& failure) {
    for (const std::string& line : CleanUp())
      failure.AddLine(line);
    if (dynamic_cast<CInterruptExcept*>(&failure) != nullptr) HintAtRest();
    throw;
  } catch (...) {
    for (const std::string& line : CleanUp())
      WriteOutput(line + "\n");
    throw;
  }
}

void CCreate::WriteArchive() {
  context_.FindFilesInUse({});
  const char* directory = options_.change_directory;
  if (directory != nullptr && !ChangeDirectory(directory)) throw CChgDirExcept(directory);
  if (!appending_) archive_->writer().WriteHeader(context_.long_names());
  CountTotal();
  AddEntries();
  FinishArchive();
}

void CCreate::AddEntries() {
  CEntryQueue queue(context_, archive_->writer(), Method(), WorkersFor(options_));
  CEntryAdder adder(context_, archive_->identity(), queue);
  try {
    CTreeWalk(adder, options_).WalkNames();
  } catch (const CInterruptExcept&) {
    throw;
  } catch (...) {
    queue.CatchUp();
    throw;
  }
  queue.Finish();
}

// Only when progress is shown, because this takes a second walk over all names.
void CCreate::CountTotal() {
  CProgress& progress = context_.progress();
  if (!progress.IsShown()) return;
  progress.BeginCounting();
  progress.SetTotal(CountBytes(options_, archive_->identity(), progress));
}

void CCreate::OpenArchive() {
  const char* value = options_.archive_value;
  if (value != nullptr && std::strlen(value) > CRunContext::kLongestArchiveName) {
    RememberErrno(ENAMETOOLONG);  // rather than making a file under part of the name
    throw COpenExcept(value);
  }
  try {
    archive_ =
        std::make_unique<CContainer>(context_, context_.archive_name(),
                                     appending_ ? CContainer::kAppend : CContainer::kNewArchive);
  } catch (const CInvalExcept&) {
    SetExitStatus(kErrorOldFormat);
    throw;
  }
}

// Backup streams need the header positions and 64-bit times of long-name mode.
CompressionMethod CCreate::Method() const {
  const bool long_names = context_.long_names();
  const bool backup = options_.backup && long_names;
  const auto maker = [=](CompressionBuffers& buffers) -> std::unique_ptr<ICompressStrategy> {
    if (backup) return std::make_unique<CBackupCompress>(buffers);
    return std::make_unique<CNormalCompress>(buffers, long_names);
  };
  return {maker, !backup};
}

// When objects had to be left out and -i does not allow that, a new archive is deleted, and one
// that was appended to loses what this run added.
void CCreate::FinishArchive() {
  const bool discard = context_.files_inaccessible() && !options_.ignore_inaccessible;
  if (discard) archive_->writer().CutBackToFormer();
  if (!discard || appending_ || !archive_->IsRegularFile()) {
    archive_->writer().Finish();
    return;
  }
  for (const std::string& line : DeleteArchive())
    context_.log().PrintMessage(line);
}

// Repairs the archive after a failure. Returns a line for each part of the repair that failed, too.
std::vector<std::string> CCreate::CleanUp() {
  std::vector<std::string> lines = archive_->writer().KeepWholeEntries(context_.archive_path());
  if (lines.empty() && !appending_ && !archive_->writer().HoldsEntries()) return DeleteArchive();
  return lines;
}

// Deletes the file that was written and nothing else: the name may be a link, and a device or a
// pipe stays. Returns a line that reports a failure to do so.
std::vector<std::string> CCreate::DeleteArchive() {
  if (!archive_->IsRegularFile()) return {};
  const std::string& path = context_.archive_path();
  const auto status = QueryLinkStatus(path);
  if (status && status->identity == archive_->identity() && archive_->writer().Delete(path))
    return {};
  return {EscapedForTerminal("MOLDEX: could not delete the incomplete archive " +
                             context_.archive_name())};
}

// Tells the user who interrupted the run what CleanUp has left.
void CCreate::HintAtRest() const {
  const std::string& name = context_.archive_name();
  if (!archive_->IsRegularFile()) {
    KeepHint("the archive that " + name + " got is not complete");
  } else if (appending_ || archive_->writer().HoldsEntries()) {
    KeepHint(name + " was left with its complete entries, the first " +
             std::to_string(archive_->writer().whole_bytes()) + " bytes");
  } else {
    KeepHint(name + " was deleted, since no entry was complete");
  }
}

}  // namespace moldex

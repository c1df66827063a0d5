#include "archive/create.h"

#include <cerrno>
#include <cstring>

#include "archive/backup_compress.h"
#include "archive/byte_count.h"
#include "archive/entry_kinds.h"
#include "archive/entry_name.h"
#include "archive/normal_compress.h"
#include "base/name_rules.h"
#include "platform/file_services.h"
#include "platform/shortcut.h"
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
  // Before an archive of that name is lost to a run that cannot succeed.
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
  const char* directory = options_.change_directory;
  if (directory != nullptr && !ChangeDirectory(directory)) throw CChgDirExcept(directory);
  strategy_ = MakeStrategy();
  if (!appending_) archive_->writer().WriteHeader(context_.long_names());
  CountTotal();
  CTreeWalk(*this, options_).WalkNames();
  FinishArchive();
}

// For somebody who sees the progress alone: it takes a second walk over all names.
void CCreate::CountTotal() {
  CProgress& progress = context_.progress();
  if (!progress.IsShown()) return;
  progress.BeginCounting();
  progress.SetTotal(CountBytes(options_, archive_->identity(), progress));
}

void CCreate::OpenArchive() {
  const char* value = options_.archive_value;
  if (value != nullptr && std::strlen(value) > CRunContext::kLongestArchiveName) {
    RememberErrno(ENAMETOOLONG);  // rather than a file under part of the name
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
std::unique_ptr<ICompressStrategy> CCreate::MakeStrategy() {
  if (options_.backup && options_.long_names)
    return std::make_unique<CBackupCompress>(buffers_, context_.progress());
  return std::make_unique<CNormalCompress>(buffers_, context_.progress(), context_.long_names());
}

// When something had to be left out without leave, a new archive is deleted, and one that was
// appended to loses what this run added.
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

// After a failure. Returns what is to be said of it besides the failure itself.
std::vector<std::string> CCreate::CleanUp() {
  std::vector<std::string> lines = archive_->writer().KeepWholeEntries(context_.archive_path());
  if (lines.empty() && !appending_ && !archive_->writer().HoldsEntries()) return DeleteArchive();
  return lines;
}

// Deletes what was written and nothing else: the name may be a link, and a device or a pipe stays.
// Returns what is to be said when that fails.
std::vector<std::string> CCreate::DeleteArchive() {
  if (!archive_->IsRegularFile()) return {};
  const std::string& path = context_.archive_path();
  const auto status = QueryLinkStatus(path);
  if (status && status->identity == archive_->identity() && archive_->writer().Delete(path))
    return {};
  return {EscapedForTerminal("MOLDEX: could not delete the incomplete archive " +
                             context_.archive_name())};
}

// What CleanUp has left, for whoever interrupted the run.
void CCreate::HintAtRest() const {
  const std::string& name = context_.archive_name();
  if (!archive_->IsRegularFile()) {
    KeepHint("what " + name + " got of the archive is not complete");
  } else if (appending_ || archive_->writer().HoldsEntries()) {
    KeepHint(name + " was left with its complete entries, the first " +
             std::to_string(archive_->writer().whole_bytes()) + " bytes");
  } else {
    KeepHint(name + " was deleted, since no entry was complete");
  }
}

bool CCreate::OnObject(const std::string& name, const FileStatus& status, bool is_start) {
  if (is_start) return true;
  // An archive never contains itself, whatever it is called here.
  if (status.identity == archive_->identity()) return false;
  const bool resolve = options_.resolve_links && status.kind == FileKind::kRegular &&
                       IsShortcutName(SystemPathRules(), name);
  if (!resolve) return AddEntry(name, status, name);
  AddShortcutTarget(name, status);
  return false;
}

// A shortcut becomes what it points to: a file, or a directory without what is in it. It is stored
// under the target's name, in full where absolute names are kept. One that points to another
// shortcut is left out: following a chain could go in circles.
void CCreate::AddShortcutTarget(const std::string& name, const FileStatus& status) {
  const Shortcut shortcut = ResolveShortcut(name);
  if (shortcut.kind == ShortcutKind::kPlainFile) {
    AddEntry(name, status, name);
    return;
  }
  if (shortcut.kind == ShortcutKind::kNoTarget) {
    OnLinkWithoutTarget(name);
    return;
  }
  const PathRules rules = SystemPathRules();
  const auto target = QueryStatus(shortcut.target);
  const std::string last(LastComponent(rules, shortcut.target));
  if (!target || last.empty() || IsShortcutName(rules, last)) {
    OnInaccessible(name, target ? "a shortcut that leads to no file" : nullptr);
  } else if (target->identity != archive_->identity()) {
    AddEntry(shortcut.target, *target, options_.absolute_paths ? shortcut.target : last);
  }
}

std::string CCreate::PrepareEntry(CDirEntry& entry, const std::string& archive_name,
                                  const char** why) {
  try {
    const std::string utf8_name = NameToUtf8(archive_name);
    if (utf8_name.size() <= kLongestName) return entry.Prepare() ? utf8_name : std::string();
    *why = "its name is too long";
  } catch (CConversionExcept& failure) {  // of the name, or of a link's target
    context_.log().PrintInfo(failure);
    *why = "its name, or its target, has no form in UTF-8";
  }
  return {};
}

bool CCreate::AddEntry(const std::string& name, const FileStatus& status,
                       const std::string& stored_as) {
  const std::string archive_name =
      StoredName(SystemPathRules(), options_.Renamed(stored_as), options_.absolute_paths);
  const auto entry = MakeEntry(name, status);
  const char* why = nullptr;
  const std::string utf8_name = PrepareEntry(*entry, archive_name, &why);
  if (utf8_name.empty()) {
    OnInaccessible(name, why);
    return false;
  }
  if (HasParentComponent(SystemPathRules(), archive_name)) {
    KeepHint("names with \"..\" in them were stored; extraction refuses them unless -P is given");
  }
  context_.progress().SetCurrentName(name);
  entry->SetArchiveName(archive_name);
  if (options_.verbose) context_.log().PrintMessage("a " + archive_name);
  entry->WriteTo(archive_->writer(), utf8_name, *strategy_);
  if (options_.statistics) context_.statistics().CountFile();
  return true;
}

void CCreate::OnInaccessible(const std::string& name, const char* why) {
  context_.ReportInaccessibleFile(name, why);
}

void CCreate::OnLinkWithoutTarget(const std::string& name) {
  CExcept failure("MOLDEX: no link target for " + name, kErrorNoLinkTarget, false);
  context_.log().PrintInfo(failure);
}

void CCreate::OnCutOffDirectory() { throw CExcept("MOLDEX: error in CCreate::ProcessDirectory"); }

}  // namespace moldex

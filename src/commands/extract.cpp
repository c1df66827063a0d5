#include "commands/extract.h"

#include "archive/output_place.h"
#include "oldformat/extract_old.h"
#include "platform/file_services.h"
#include "report/except.h"
#include "report/exit_status.h"

namespace moldex {

CExtract::CExtract(CRunContext& context)
    : context_(context),
      options_(context.options()),
      extracting_(context.command_code() == kCommandExtract),
      selection_(context.options().NameList()) {}

void CExtract::Execute() {
  for (const std::string& name : context_.ArchiveList()) {
    try {
      ProcessArchive(name);
    } catch (COpenExcept& failure) {
      context_.log().PrintInfo(failure);
    } catch (const CInvalExcept&) {
      print_summary_ = false;
      CExtractOld old_format(context_, name);
      old_format.Execute();
      total_count_ += old_format.entry_count();
    }
    if (print_summary_) {
      context_.log().PrintMessage("MOLDEX: " + std::to_string(total_count_) + " file(s) " + Done());
    }
  }
}

void CExtract::ProcessArchive(const std::string& name) {
  CContainer archive(name, CContainer::kRead);
  if (!archive.CheckHeader()) throw CInvalExcept(name);
  context_.log().PrintMessage("MOLDEX: processing archive " + name + "...");
  archive_count_ = 0;
  ProcessEntries(archive);
  if (archive_count_ < selection_.name_count()) {
    SetExitStatus(kErrorOldFormat);
    context_.log().PrintMessage(std::string("MOLDEX: not all files could be ") + Done());
  }
}

void CExtract::ProcessEntries(CContainer& archive) {
  const CEntrySelection selection_before = selection_;
  bool directories_met = false;
  for (CDirEntry* entry = archive.FirstEntry(); entry != nullptr; entry = archive.NextEntry()) {
    if (!selection_.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!MayBeWritten(*entry)) {
      RefuseEntry(*entry);
      continue;
    }
    entry->Extract(archive, extracting_);
    ++total_count_;
    ++archive_count_;
    if (!extracting_) continue;
    entry->Finish();
    directories_met = directories_met || entry->IsDirectory();
  }
  if (directories_met && options_.set_directory_permissions) {
    ApplyDirectories(archive, selection_before);
  }
}

// Whether extraction may put the entry where its name says.
bool CExtract::MayBeWritten(const CDirEntry& entry) const {
  return !extracting_ || options_.absolute_paths ||
         !HasParentComponent(SystemPathRules(), entry.GetName());
}

void CExtract::RefuseEntry(const CDirEntry& entry) {
  CExcept failure(
      "MOLDEX: name leaves the target directory (use -P to allow it): " + entry.GetName(),
      kErrorLeavesTarget, false);
  context_.log().PrintInfo(failure);
}

// Directories get their permissions once everything below them is written. They are looked up in
// the archive again, from the selection as it was at its start, instead of being remembered: an
// archive may hold any number of them.
void CExtract::ApplyDirectories(CContainer& archive, CEntrySelection selection) {
  archive.Rewind();
  for (CDirEntry* entry = archive.FirstEntry(); entry != nullptr; entry = archive.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!entry->IsDirectory() || !MayBeWritten(*entry)) continue;
    const std::string path = OutputPath(entry->GetName());
    if (!SetPermissionsAt(path, entry->header().mode)) throw CChgModExcept(path);
  }
}

}  // namespace moldex

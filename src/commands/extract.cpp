#include "commands/extract.h"

#include "archive/output_place.h"
#include "oldformat/extract_old.h"
#include "platform/file_services.h"
#include "platform/name_rules.h"
#include "platform/security.h"
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
  std::string why;
  if (context_.long_names() && !AcquirePrivileges(&why)) throw CAddPrivilegeExcept(why);
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
  directories_wait_ = links_wait_ = false;
  for (CDirEntry* entry = archive.FirstEntry(); entry != nullptr; entry = archive.NextEntry()) {
    if (!selection_.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!ProcessEntry(archive, *entry)) continue;
    ++total_count_;
    ++archive_count_;
  }
  if (links_wait_) MakeLinks(archive, selection_before);
  if (directories_wait_) ApplyDirectories(archive, selection_before);
}

// False for an entry that is left out.
bool CExtract::ProcessEntry(CContainer& archive, CDirEntry& entry) {
  if (extracting_ && LacksTarget(entry)) {
    CExcept failure("MOLDEX: no link target for " + entry.GetName(), kErrorNoLinkTarget, false);
    context_.log().PrintInfo(failure);
    return false;
  }
  if (extracting_ && !MayBeWritten(entry)) {
    Refuse(entry);
    return false;
  }
  entry.Extract(archive, extracting_);
  if (!extracting_) return true;
  RestoreSecurityOf(entry);
  entry.Finish();
  directories_wait_ |= entry.IsDirectory() && options_.set_directory_permissions;
  links_wait_ |= entry.AsSymbolicLink() != nullptr;
  return true;
}

bool CExtract::LacksTarget(const CDirEntry& entry) const {
  const CLink* link = entry.AsSymbolicLink();
  return link != nullptr && link->Target().empty();
}

// Whether the system takes the name as it is written, behind the target directory.
bool CExtract::HasAllowedName(const CDirEntry& entry) const {
  const PathRules rules = SystemPathRules();
  const char* target = options_.target_directory != nullptr ? "." : "";
  return IsAllowedName(rules, TargetName(rules, target, entry.GetName()));
}

// Whether extraction may put the entry where its name says, and a link where its target says.
bool CExtract::MayBeWritten(const CDirEntry& entry) const {
  if (!HasAllowedName(entry)) return false;
  if (options_.absolute_paths) return true;
  const PathRules rules = SystemPathRules();
  if (HasParentComponent(rules, entry.GetName())) return false;
  const CLink* link = entry.AsSymbolicLink();
  return link == nullptr || !LinkLeaves(rules, entry.GetName(), link->Target());
}

void CExtract::Refuse(const CDirEntry& entry) {
  if (!HasAllowedName(entry)) {
    CExcept failure("MOLDEX: name is not allowed on this system: " + entry.GetName(),
                    kErrorNameNotAllowed, false);
    context_.log().PrintInfo(failure);
    return;
  }
  CExcept failure(
      "MOLDEX: name leaves the target directory (use -P to allow it): " + entry.GetName(),
      kErrorLeavesTarget, false);
  context_.log().PrintInfo(failure);
}

// A security descriptor travels as an entry's user data; of a symbolic link those are the target.
void CExtract::RestoreSecurityOf(const CDirEntry& entry) {
  if (entry.user_data().empty() || entry.AsSymbolicLink() != nullptr) return;
  std::string why;
  if (!RestoreSecurity(OutputPath(entry.GetName()), entry.user_data(), &why)) {
    context_.log().PrintMessage(why);
  }
}

// Links come last, so that no other entry of their archive is written through one; and directories
// get their permissions once everything below them is written. Both are looked up in the archive
// again, from the selection as it was at its start, instead of being remembered: an archive may
// hold any number of them.
void CExtract::MakeLinks(CContainer& archive, CEntrySelection selection) {
  archive.Rewind();
  for (CDirEntry* entry = archive.FirstEntry(); entry != nullptr; entry = archive.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    const CLink* link = entry->AsSymbolicLink();
    if (link != nullptr && !LacksTarget(*link) && MayBeWritten(*link)) MakeLink(*link);
  }
}

// A link that would be made through another one could lead anywhere.
void CExtract::MakeLink(const CLink& link) {
  if (!options_.absolute_paths && HasLinkAbove(link.GetName())) {
    Refuse(link);
    --total_count_;
    --archive_count_;
    return;
  }
  link.MakeLink();
}

void CExtract::ApplyDirectories(CContainer& archive, CEntrySelection selection) {
  archive.Rewind();
  for (CDirEntry* entry = archive.FirstEntry(); entry != nullptr; entry = archive.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (entry->IsDirectory() && MayBeWritten(*entry)) ApplyDirectory(*entry);
  }
}

void CExtract::ApplyDirectory(const CDirEntry& entry) {
  const std::string path = OutputPath(entry.GetName());
  if (!SetDirectoryModeAt(path, entry.header().mode, context_.long_names())) {
    throw CChgModExcept(path);
  }
}

}  // namespace moldex

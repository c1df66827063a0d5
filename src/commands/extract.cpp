#include "commands/extract.h"

#include <algorithm>
#include <cerrno>

#include "extraction/admission.h"
#include "extraction/deferred_entries.h"
#include "extraction/output_place.h"
#include "oldformat/extract_old.h"
#include "platform/attributes.h"
#include "platform/security.h"
#include "report/error_codes.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/hints.h"
#include "report/output.h"
#include "report/system_error.h"
#include "run/archive_list.h"

namespace moldex {

namespace {

// Whether what failed is the archive's structure, so that the next entry may not be where it seems
// to be. Damaged data fails otherwise, and leaves the entries after it as they are.
bool EndsTheArchive(const CExcept& failure) {
  switch (failure.code()) {
    case kErrorRead:
    case kErrorNameTooLong:
    case kErrorGeneric:
      return true;
    case kErrorBadLength:
      return dynamic_cast<const CBlockLengthExcept*>(&failure) != nullptr;
    default:
      return false;
  }
}

// What is worth keeping of such an archive.
std::string GoodPartOf(const std::string& name, const CArchiveReader& archive) {
  const bool none = archive.whole_bytes() <= kArchiveHeaderBytes;
  return EscapedForTerminal(
      "MOLDEX: the good part of " + name + " ends at byte " +
      std::to_string(archive.whole_bytes()) +
      (none ? ", before its first entry" : ", behind " + archive.whole_name()));
}

}  // namespace

CExtract::CExtract(CRunContext& context)
    : context_(context),
      options_(context.options()),
      extracting_(context.command_code() == kCommandExtract),
      selection_(context.options().NameList()) {}

void CExtract::Execute() {
  const std::vector<std::string> archives = context_.ArchiveList();
  if (context_.progress().IsShown()) context_.progress().SetTotal(TotalBytes(archives));
  if (extracting_) context_.FindFilesInUse(archives);
  for (const std::string& name : archives) {
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
  CContainer container(context_, name, CContainer::kRead);
  CArchiveReader& archive = container.reader();
  // Extraction may have to go over an archive more than once.
  if (extracting_ && !container.IsRegularFile()) {
    RememberErrno(ESPIPE);
    throw COpenExcept(name);
  }
  if (!archive.CheckHeader()) throw CInvalExcept(name);
  context_.files_in_use().Add(container.identity());  // the name may have come to mean another file
  if (context_.long_names()) {
    const auto acquired = AcquirePrivileges();
    if (!acquired) throw CAddPrivilegeExcept(acquired.error().what);
  }
  context_.log().PrintMessage("MOLDEX: processing archive " + name + "...");
  archive_count_ = 0;
  try {
    ProcessEntries(archive);
  } catch (const CInterruptExcept&) {
    if (extracting_) HintAtRest();
    throw;
  } catch (CExcept& failure) {
    if (!extracting_ && EndsTheArchive(failure)) failure.AddLine(GoodPartOf(name, archive));
    throw;
  }
  if (archive_count_ < selection_.name_count()) {
    SetExitStatus(kErrorOldFormat);
    context_.log().PrintMessage(std::string("MOLDEX: not all files could be ") + Done());
    NoteFailure({kFailureNamesNotFound, 0});
  }
}

// For whoever interrupted the run.
void CExtract::HintAtRest() const {
  std::string text = std::to_string(total_count_) + " file(s) were extracted before that";
  if (links_wait_ > 0) text += "; symbolic links are made at the end and may be missing";
  if (directories_wait_) text += "; directories get their permissions at the end";
  KeepHint(text);
}

void CExtract::ProcessEntries(CArchiveReader& archive) {
  const CEntrySelection selection_before = selection_;
  directories_wait_ = false;
  links_wait_ = 0;
  for (CDirEntry* entry = archive.FirstEntry(); entry != nullptr; entry = archive.NextEntry()) {
    if (!selection_.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!ProcessEntry(archive, *entry)) continue;
    ++total_count_;
    ++archive_count_;
  }
  CDeferredEntries deferred(context_, archive, selection_before);
  if (links_wait_ > 0) {
    const std::uint32_t left_out = links_wait_ - std::min(links_wait_, deferred.MakeLinks());
    total_count_ -= left_out;
    archive_count_ -= left_out;
  }
  if (directories_wait_) deferred.ApplyDirectories();
}

// False for an entry that is left out.
bool CExtract::ProcessEntry(CArchiveReader& archive, CDirEntry& entry) {
  if (!extracting_) {
    entry.Extract(archive, false);
    return true;
  }
  const Refusal refusal = RefusalOf(entry, options_, context_.files_in_use());
  if (refusal == Refusal::kIsInUse && entry.AsSymbolicLink() != nullptr) {
    ++links_wait_;  // refused when links are made: then their names may lead elsewhere
    return true;
  }
  if (refusal != Refusal::kNone) {
    PrintRefusal(refusal, entry, context_.log());
    return false;
  }
  entry.Extract(archive, true);
  RestoreSecurityOf(entry);
  entry.Finish();
  directories_wait_ |= entry.IsDirectory() && (options_.set_directory_permissions ||
                                               DirectoryAttributesOf(entry.header().mode) != 0);
  if (entry.AsSymbolicLink() != nullptr) ++links_wait_;
  return true;
}

// A security descriptor travels as an entry's user data; of a symbolic link those are the target.
void CExtract::RestoreSecurityOf(const CDirEntry& entry) {
  if (entry.user_data().empty() || entry.AsSymbolicLink() != nullptr) return;
  if (IsTargetDirectory(entry.GetName())) return;
  const auto restored = RestoreSecurity(OutputPath(entry.GetName()), entry.user_data());
  if (restored) return;
  WriteOutput(restored.error().what + SystemErrorText(restored.error().error) + '\n');
  FlushOutput();
}

}  // namespace moldex

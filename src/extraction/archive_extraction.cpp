#include "extraction/archive_extraction.h"

#include <algorithm>
#include <string>

#include "archive/entry_kinds.h"
#include "extraction/deferred_entries.h"
#include "platform/attributes.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/hints.h"

namespace moldex {
namespace {

// Accepts the data of an entry that is only verified.
class CNoOutput : public IEntrySink {
 public:
  void MakeFile(const CDirEntry& /*entry*/) override {}
  void MakeDirectory(const CDirEntry& /*entry*/) override {}
  void Write(const DataPiece& /*piece*/) override {}
  void EndData() override {}
};

}  // namespace

CArchiveExtraction::CArchiveExtraction(CRunContext& context, IEntrySource& source,
                                       COutputPlace& place, bool absolute_paths,
                                       std::uint32_t& total_count)
    : context_(context),
      source_(source),
      place_(place),
      extracting_(context.command_code() == kCommandExtract),
      rules_{place.names(), context.files_in_use(), context.options().target_directory != nullptr,
             absolute_paths},
      writer_(place),
      total_count_(total_count) {
  // Since the run looked up the archive's name, the name may have come to mean another file.
  context_.files_in_use().Add(source.identity());
}

void CArchiveExtraction::ProcessEntries(CEntrySelection& selection) {
  const CEntrySelection selection_before = selection;
  while (const CDirEntry* entry = source_.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!ProcessEntry(*entry)) continue;
    ++total_count_;
    ++archive_count_;
  }
  MakeDeferred(selection_before);
  if (archive_count_ >= selection.name_count()) return;
  SetExitStatus(kErrorOldFormat);
  context_.log().PrintMessage(std::string("MOLDEX: not all files could be ") + Done());
  NoteFailure({kFailureNamesNotFound, 0});
}

// False for an entry that is left out.
bool CArchiveExtraction::ProcessEntry(const CDirEntry& entry) {
  if (!extracting_) {
    CNoOutput no_output;
    CountEntry("d ", entry);
    entry.Extract(source_, no_output);
    return true;
  }
  if (const auto left_out = source_.WhyLeftOut()) {
    CExcept failure(left_out->message, left_out->code, false);
    context_.log().PrintInfo(failure);
    return false;
  }
  const Refusal refusal = MakeOrRefuse(entry);
  if (refusal == Refusal::kIsInUse && entry.AsSymbolicLink() != nullptr) {
    ++links_wait_;  // refused when links are made: then their names may lead elsewhere
    return true;
  }
  if (refusal != Refusal::kNone) {
    PrintRefusal(refusal, entry, context_.log());
    return false;
  }
  WriteEntry(entry);
  return true;
}

// Most entries are new. Making one tells that no file in use has its name. If that fails, most
// often because the name is taken, WriteEntry tries again, replaces what is there, and reports
// failures.
Refusal CArchiveExtraction::MakeOrRefuse(const CDirEntry& entry) {
  const Refusal refusal = RefusalByName(entry, rules_);
  if (refusal != Refusal::kNone || writer_.MakeNew(entry)) return refusal;
  return RefusalByPlace(entry, rules_);
}

void CArchiveExtraction::WriteEntry(const CDirEntry& entry) {
  try {
    CountEntry("x ", entry);
    entry.Extract(source_, writer_);
  } catch (const CInterruptExcept&) {
    writer_.KeepPart();
    writer_.HintAtPart(entry);
    throw;
  } catch (...) {
    writer_.KeepPart();
    throw;
  }
  writer_.RestoreSecurity(entry);
  writer_.ApplyAttributes(entry);
  if (entry.AsSymbolicLink() != nullptr) ++links_wait_;
  directories_wait_ |= entry.IsDirectory() && (context_.options().set_directory_permissions ||
                                               DirectoryAttributesOf(entry.header().mode) != 0);
}

void CArchiveExtraction::CountEntry(const char* mark, const CDirEntry& entry) {
  context_.statistics().CountFile();
  if (context_.options().verbose) context_.log().PrintMessage(mark + entry.GetName());
}

void CArchiveExtraction::MakeDeferred(const CEntrySelection& selection) {
  CDeferredEntries deferred(source_, selection, place_, rules_, context_.log());
  if (links_wait_ > 0) {
    const std::uint32_t left_out = links_wait_ - std::min(links_wait_, deferred.MakeLinks());
    total_count_ -= left_out;
    archive_count_ -= left_out;
  }
  if (directories_wait_) deferred.ApplyDirectories(context_.options().set_directory_permissions);
}

void CArchiveExtraction::HintAtRest() const {
  if (!extracting_) return;
  std::string text = std::to_string(total_count_) + " file(s) were extracted before that";
  if (links_wait_ > 0) text += "; symbolic links are made at the end and may be missing";
  if (directories_wait_) text += "; directories get their permissions at the end";
  KeepHint(text);
}

}  // namespace moldex

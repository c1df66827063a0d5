#include "oldformat/extract_old.h"

#include <algorithm>

#include "extraction/admission.h"
#include "extraction/directory_modes.h"
#include "extraction/output_place.h"
#include "oldformat/old_command.h"
#include "platform/file_services.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/exit_status.h"

namespace moldex {
namespace {

struct LeftOutText {
  TarKind kind;
  const char* text;
};

constexpr LeftOutText kLeftOutTexts[] = {
    {TarKind::kSymbolicLink, "MOLDEX: symbolic link left out: "},
    {TarKind::kHardLink, "MOLDEX: hard link left out: "},
    {TarKind::kDevice, "MOLDEX: device left out: "},
    {TarKind::kFifo, "MOLDEX: FIFO left out: "},
    {TarKind::kSparseFile, "MOLDEX: sparse file left out: "},
    {TarKind::kUnknown, "MOLDEX: entry of unknown kind left out: "},
};

bool IsExtracted(TarKind kind) { return kind == TarKind::kFile || kind == TarKind::kDirectory; }

void Print(const std::string& what, int code, CLogMan& log) {
  CExcept failure(what, code, false);
  log.PrintInfo(failure);
}

void PrintLeftOut(const COldArchive& archive, const CDirEntry& entry, CLogMan& log) {
  const auto* row =
      std::find_if(std::begin(kLeftOutTexts), std::end(kLeftOutTexts),
                   [&](const LeftOutText& text) { return text.kind == archive.kind(); });
  std::string what = row->text + entry.GetName();
  if (!archive.link_target().empty()) what += " -> " + archive.link_target();
  Print(what, kErrorOldFormat, log);
}

bool LeavesTarget(const CDirEntry& entry) {
  return HasParentComponent(SystemPathRules(), entry.GetName());
}

// No file can have such a name, whatever comes in front of it.
bool IsNamedLikeDirectory(const CDirEntry& entry) {
  return !entry.IsDirectory() && NamesADirectory(SystemPathRules(), entry.GetName());
}

// Says why an entry is left out, if it is.
bool IsAdmitted(const COldArchive& archive, const CDirEntry& entry, const CCmdLineOptions& options,
                CRunContext& context) {
  CLogMan& log = context.log();
  if (!IsExtracted(archive.kind())) {
    PrintLeftOut(archive, entry, log);
    return false;
  }
  if (LeavesTarget(entry)) {
    Print("MOLDEX: name leaves the target directory: " + entry.GetName(), kErrorLeavesTarget, log);
    return false;
  }
  if (IsNamedLikeDirectory(entry)) {
    Print("MOLDEX: file named like a directory left out: " + entry.GetName(), kErrorOldFormat, log);
    return false;
  }
  const Refusal refusal = RefusalOf(entry, options, context.files_in_use());
  if (refusal != Refusal::kNone) PrintRefusal(refusal, entry, log);
  return refusal == Refusal::kNone;
}

}  // namespace

void CExtractOld::Execute() {
  WithOldArchive(context_, archive_name_,
                 [this](COldArchive& archive, const CCmdLineOptions& options) {
                   verbose_ = options.verbose;
                   ProcessArchive(archive, options);
                 });
}

void CExtractOld::ProcessArchive(COldArchive& archive, const CCmdLineOptions& options) {
  const bool extracting = options.command_code == kCommandExtract;
  context_.files_in_use().Add(archive.identity());
  bool directories_wait = false;
  while (CDirEntry* entry = archive.Next()) {
    if (!extracting) {
      Verify(archive, *entry);
    } else if (IsAdmitted(archive, *entry, options, context_)) {
      Extract(archive, *entry);
      directories_wait |= entry->IsDirectory();
    }
  }
  // Whether permissions of directories are left alone is the same for all archives of a run.
  if (directories_wait && context_.options().set_directory_permissions) {
    ApplyDirectories(archive, options);
  }
  if (entry_count_ < archive.name_count()) {
    SetExitStatus(kErrorOldFormat);
    context_.log().PrintMessage(std::string("MOLDEX: not all files could be ") +
                                (extracting ? "extracted" : "tested"));
    NoteFailure({kFailureNamesNotFound, 0});
  }
}

void CExtractOld::Verify(COldArchive& archive, const CDirEntry& entry) {
  CountEntry("d ", entry);
  while (!archive.Data().empty())
    ThrowIfInterrupted();
}

void CExtractOld::Extract(COldArchive& archive, CDirEntry& entry) {
  CountEntry("x ", entry);
  entry.Create();
  if (entry.IsDirectory()) return;
  try {
    WriteData(archive, entry);
  } catch (const CInterruptExcept&) {
    entry.HintAtPart();
    throw;
  }
  entry.Finish();
}

void CExtractOld::WriteData(COldArchive& archive, CDirEntry& entry) {
  for (auto piece = archive.Data(); !piece.empty(); piece = archive.Data()) {
    ThrowIfInterrupted();
    if (!entry.file().WriteAll(piece)) throw CWriteExcept(OutputPath(entry.GetName()));
  }
}

// Looks the directories up in the archive again: there may be any number of them.
void CExtractOld::ApplyDirectories(COldArchive& archive, const CCmdLineOptions& options) {
  CDirectoryModes modes(true, context_.long_names());
  archive.Rewind();
  while (const CDirEntry* entry = archive.Next()) {
    if (!entry->IsDirectory() || LeavesTarget(*entry)) continue;
    if (RefusalOf(*entry, options, context_.files_in_use()) != Refusal::kNone) continue;
    modes.Add(entry->GetName(), entry->header().mode);
  }
  modes.Finish();
}

void CExtractOld::CountEntry(const char* mark, const CDirEntry& entry) {
  ++entry_count_;
  if (verbose_) context_.log().PrintMessage(mark + entry.GetName());
  context_.statistics().CountFile();
}

}  // namespace moldex

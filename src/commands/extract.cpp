#include "commands/extract.h"

#include <cerrno>
#include <utility>

#include "archive/workers.h"
#include "extraction/archive_extraction.h"
#include "oldformat/extract_old.h"
#include "platform/security.h"
#include "report/error_codes.h"
#include "report/except.h"
#include "report/output.h"
#include "report/system_error.h"
#include "run/archive_list.h"

namespace moldex {

namespace {

// Whether the archive's structure is damaged, so that the next entry may not be where it seems to
// be. Damaged data fails otherwise and does not affect the entries after it.
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

// Says how much of a damaged archive is good.
std::string GoodPartOf(const CArchiveParser& archive) {
  const bool none = archive.whole_bytes() <= kArchiveHeaderBytes;
  return EscapedForTerminal(
      "MOLDEX: the good part of " + archive.archive_name() + " ends at byte " +
      std::to_string(archive.whole_bytes()) +
      (none ? ", before its first entry" : ", after " + archive.whole_name()));
}

}  // namespace

CExtract::CExtract(CRunContext& context)
    : context_(context),
      extracting_(context.command_code() == kCommandExtract),
      selection_(context.options().NameList(), context.sought_names()),
      place_(context.options()) {}

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
      CExtractOld old_format(context_, name, place_);
      old_format.Execute();
      total_count_ += old_format.entry_count();
    }
    if (print_summary_) {
      context_.log().PrintMessage("MOLDEX: " + std::to_string(total_count_) + " file(s) " +
                                  (extracting_ ? "extracted" : "tested"));
    }
  }
}

// Null when one thread does all work.
std::unique_ptr<CParallelSource> CExtract::ReadAhead(CContainer& container) {
  const unsigned workers = WorkersFor(context_.options());
  if (workers < 2) return nullptr;
  auto wants = [selection = selection_.Forecast()](const CDirEntry& entry) mutable {
    return selection.Selects(entry.GetName(), entry.IsDirectory());
  };
  return std::make_unique<CParallelSource>(
      container.reader(), context_.progress(),
      CParallelSource::Plan{workers, extracting_, container.IsRegularFile(), kLongestStream,
                            std::move(wants)});
}

void CExtract::ProcessArchive(const std::string& name) {
  CContainer container(context_, name, CContainer::kRead);
  // Extraction may have to go over an archive more than once.
  if (extracting_ && !container.IsRegularFile()) {
    RememberErrno(ESPIPE);
    throw COpenExcept(name);
  }
  CArchiveReader& archive = container.reader();
  if (!archive.CheckHeader()) throw CInvalExcept(name);
  if (context_.long_names()) {
    const auto acquired = AcquirePrivileges();
    if (!acquired) throw CAddPrivilegeExcept(acquired.error().what);
  }
  context_.log().PrintMessage("MOLDEX: processing archive " + name + "...");
  const auto ahead = ReadAhead(container);
  IEntrySource* source = ahead.get();
  if (source == nullptr) source = &archive;
  CArchiveExtraction extraction(context_, *source, place_, context_.options().absolute_paths,
                                total_count_);
  try {
    extraction.ProcessEntries(selection_);
  } catch (const CInterruptExcept&) {
    extraction.HintAtRest();
    throw;
  } catch (CExcept& failure) {
    if (!extracting_ && EndsTheArchive(failure)) failure.AddLine(GoodPartOf(archive.parser()));
    throw;
  }
}

}  // namespace moldex

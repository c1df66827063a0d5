#include "commands/deferred_entries.h"

#include "archive/admission.h"
#include "archive/directory_modes.h"
#include "archive/output_place.h"
#include "report/except.h"

namespace moldex {

template <typename Visit>
void CDeferredEntries::ForEachAdmitted(Visit visit) {
  CEntrySelection selection = selection_;
  archive_.Rewind();
  for (CDirEntry* entry = archive_.FirstEntry(); entry != nullptr; entry = archive_.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!entry->IsDirectory() && entry->AsSymbolicLink() == nullptr) continue;
    const Refusal refusal = RefusalOf(*entry, context_.options(), context_.files_in_use());
    if (refusal == Refusal::kNone) {
      visit(*entry);
    } else if (refusal == Refusal::kIsInUse && HasLinkAbove(entry->GetName())) {
      // Perhaps a link made just now has led there, and this was not said before.
      PrintRefusal(refusal, *entry, context_.log());
    }
  }
}

std::uint32_t CDeferredEntries::MakeLinks() {
  std::uint32_t made = 0;
  ForEachAdmitted([&](const CDirEntry& entry) {
    const CLink* link = entry.AsSymbolicLink();
    if (link != nullptr && MakeLink(*link)) ++made;
  });
  return made;
}

bool CDeferredEntries::MakeLink(const CLink& link) const {
  // A link that is made through another one could lead anywhere.
  if (!context_.options().absolute_paths && HasLinkAbove(link.GetName())) {
    PrintRefusal(Refusal::kLeavesTarget, link, context_.log());
    return false;
  }
  try {
    link.MakeLink();
    return true;
  } catch (COpenForWritingExcept& failure) {  // no reason to leave directories as they are
    context_.log().PrintInfo(failure);
  } catch (CCreateDirExcept& failure) {
    context_.log().PrintInfo(failure);
  }
  return false;
}

void CDeferredEntries::ApplyDirectories() {
  CDirectoryModes modes(context_.options().set_directory_permissions, context_.long_names());
  ForEachAdmitted([&](const CDirEntry& entry) {
    if (entry.IsDirectory()) modes.Add(entry.GetName(), entry.header().mode);
  });
  modes.Finish();
}

}  // namespace moldex

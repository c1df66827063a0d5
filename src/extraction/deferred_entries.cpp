#include "extraction/deferred_entries.h"

#include "extraction/admission.h"
#include "extraction/directory_modes.h"
#include "extraction/output_place.h"
#include "report/except.h"

namespace moldex {

template <typename Visit>
void CDeferredEntries::ForEach(Visit visit) {
  CEntrySelection selection = selection_;
  archive_.Rewind();
  for (CDirEntry* entry = archive_.FirstEntry(); entry != nullptr; entry = archive_.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!entry->IsDirectory() && entry->AsSymbolicLink() == nullptr) continue;
    visit(*entry, RefusalOf(*entry, context_.options(), context_.files_in_use()));
  }
}

std::uint32_t CDeferredEntries::MakeLinks() {
  std::uint32_t made = 0;
  ForEach([&](const CDirEntry& entry, Refusal refusal) {
    const CLink* link = entry.AsSymbolicLink();
    if (link == nullptr) return;
    if (refusal == Refusal::kIsInUse) PrintRefusal(refusal, entry, context_.log());
    if (refusal == Refusal::kNone && MakeLink(*link)) ++made;
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
  ForEach([&](const CDirEntry& entry, Refusal refusal) {
    if (!entry.IsDirectory() || refusal != Refusal::kNone) return;
    modes.Add(entry.GetName(), entry.header().mode);
  });
  modes.Finish();
}

}  // namespace moldex

#include "extraction/deferred_entries.h"

#include "extraction/directory_modes.h"
#include "report/except.h"

namespace moldex {

template <typename Visit>
void CDeferredEntries::ForEach(Visit visit) {
  CEntrySelection selection = selection_;
  source_.Rewind();
  while (const CDirEntry* entry = source_.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!entry->IsDirectory() && entry->AsSymbolicLink() == nullptr) continue;
    if (!source_.WhyLeftOut()) visit(*entry, RefusalOf(*entry, rules_));
  }
}

std::uint32_t CDeferredEntries::MakeLinks() {
  std::uint32_t made = 0;
  ForEach([&](const CDirEntry& entry, Refusal refusal) {
    const CLink* link = entry.AsSymbolicLink();
    if (link == nullptr) return;
    if (refusal == Refusal::kIsInUse) PrintRefusal(refusal, entry, log_);
    if (refusal == Refusal::kNone && MakeLink(*link)) ++made;
  });
  return made;
}

bool CDeferredEntries::MakeLink(const CLink& link) const {
  // A link that is made through another one could lead anywhere.
  if (!rules_.absolute_paths && place_.HasLinkAbove(link.GetName())) {
    PrintRefusal(Refusal::kLeavesTarget, link, log_);
    return false;
  }
  try {
    place_.MakeParents(link.GetName());
    // A name with ".." in it may lead to a file through a directory that was missing until now.
    if (rules_.absolute_paths && RefusalByPlace(link, rules_) != Refusal::kNone) {
      PrintRefusal(Refusal::kIsInUse, link, log_);
      return false;
    }
    place_.MakeLink(link.GetName(), link.Target(), TimeOf(link.header()));
    return true;
  } catch (COpenForWritingExcept& failure) {  // no reason to leave directories as they are
    log_.PrintInfo(failure);
  } catch (CCreateDirExcept& failure) {
    log_.PrintInfo(failure);
  }
  return false;
}

void CDeferredEntries::ApplyDirectories(bool set_permissions) {
  CDirectoryModes modes(place_.names(), set_permissions);
  ForEach([&](const CDirEntry& entry, Refusal refusal) {
    if (!entry.IsDirectory() || refusal != Refusal::kNone) return;
    modes.Add(entry.GetName(), entry.header());
  });
  modes.ApplyRest();
}

}  // namespace moldex

#include "commands/deferred_entries.h"

#include "archive/output_place.h"
#include "commands/admission.h"
#include "platform/file_services.h"
#include "report/except.h"

namespace moldex {

template <typename Visit>
void CDeferredEntries::ForEachAdmitted(Visit visit) {
  CEntrySelection selection = selection_;
  archive_.Rewind();
  for (CDirEntry* entry = archive_.FirstEntry(); entry != nullptr; entry = archive_.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    if (!entry->IsDirectory() && entry->AsSymbolicLink() == nullptr) continue;
    if (RefusalOf(*entry, context_.options(), archive_.identity()) == Refusal::kNone) visit(*entry);
  }
}

std::uint32_t CDeferredEntries::MakeLinks() {
  std::uint32_t left_out = 0;
  ForEachAdmitted([&](const CDirEntry& entry) {
    const CLink* link = entry.AsSymbolicLink();
    if (link != nullptr && !MakeLink(*link)) ++left_out;
  });
  return left_out;
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
  } catch (COpenForWritingExcept& failure) {  // no reason to leave the directories open
    context_.log().PrintInfo(failure);
    return false;
  }
}

// A directory comes after those below it, because it may be closed to its owner then. As
// directories stand in an archive in front of what is in them, the ones that wait are nested in one
// another.
void CDeferredEntries::ApplyDirectories() {
  ForEachAdmitted([&](const CDirEntry& entry) {
    if (!entry.IsDirectory()) return;
    ApplyUpTo(entry.GetName());
    open_directories_.push_back({entry.GetName(), entry.header().mode});
  });
  ApplyUpTo("");
}

// Applies what waits, from the innermost outward, up to a directory that `name` lies below.
void CDeferredEntries::ApplyUpTo(const std::string& name) {
  while (!open_directories_.empty() && !name.starts_with(open_directories_.back().name + "/")) {
    const std::string path = OutputPath(open_directories_.back().name);
    if (!SetDirectoryModeAt(path, open_directories_.back().mode, context_.long_names())) {
      throw CChgModExcept(path);
    }
    open_directories_.pop_back();
  }
}

}  // namespace moldex

#include "extraction/listing.h"

namespace moldex {

void ListEntries(CRunContext& context, IEntrySource& source, CEntrySelection& selection,
                 const std::function<void(const CDirEntry&)>& visit) {
  while (const CDirEntry* entry = source.NextEntry()) {
    if (!selection.Selects(entry->GetName(), entry->IsDirectory())) continue;
    entry->Print(context.log());
    context.statistics().CountFile();
    if (visit) visit(*entry);
  }
}

}  // namespace moldex

// Lists one archive, whatever its format: goes through an entry source and prints the lines of the
// selected entries.
#ifndef MOLDEX_EXTRACTION_LISTING_H_
#define MOLDEX_EXTRACTION_LISTING_H_

#include <functional>

#include "archive/dir_entry.h"
#include "archive/entry_source.h"
#include "extraction/entry_selection.h"
#include "run/run_context.h"

namespace moldex {

// Prints the line of every selected entry, links and others that extraction leaves out included,
// and shows the entry to `visit`, unless that is empty. Throws what the source throws.
void ListEntries(CRunContext& context, IEntrySource& source, CEntrySelection& selection,
                 const std::function<void(const CDirEntry&)>& visit);

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_LISTING_H_

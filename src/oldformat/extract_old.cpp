#include "oldformat/extract_old.h"

#include "extraction/archive_extraction.h"
#include "oldformat/old_command.h"

namespace moldex {

void CExtractOld::Execute() {
  WithOldArchive(context_, archive_name_, [this](COldArchive& archive, CEntrySelection& selection) {
    // No entry of such an archive ever leaves the target directory, whatever -P says.
    CArchiveExtraction(context_, archive, place_, false, entry_count_).ProcessEntries(selection);
  });
}

}  // namespace moldex

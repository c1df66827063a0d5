#include "oldformat/type_old.h"

#include "extraction/listing.h"
#include "oldformat/old_command.h"

namespace moldex {

void CTypeOld::Execute() {
  WithOldArchive(context_, archive_name_, [this](COldArchive& archive, CEntrySelection& selection) {
    ListEntries(context_, archive, selection, {});
  });
}

}  // namespace moldex

#include "oldformat/type_old.h"

#include "oldformat/old_command.h"

namespace moldex {

void CTypeOld::Execute() {
  WithOldArchive(context_, archive_name_, [this](COldArchive& archive, const CCmdLineOptions&) {
    while (const CDirEntry* entry = archive.Next()) {
      entry->Print();
      context_.statistics().CountFile();
    }
  });
}

}  // namespace moldex

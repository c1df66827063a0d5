// Any bytes as an archive: every entry is listed, proved and restored into a file that nobody
// keeps. A wrong checksum is passed over, so that damage gets to what follows.
#include <cstdlib>

#include "archive/container.h"
#include "archive/dir_entry.h"
#include "archive/entry_data.h"
#include "fuzz/memory_file_posix.h"
#include "fuzz/target.h"
#include "report/except.h"
#include "run/run_context.h"

namespace {

using moldex::CArchiveReader;
using moldex::CContainer;
using moldex::CDirEntry;
using moldex::CRunContext;

// False when the archive cannot be read on.
bool Restore(CArchiveReader& archive, CDirEntry& entry, bool to_disk) {
  try {
    moldex::RestoreData(archive, entry, to_disk);
  } catch (const moldex::CExcept& failure) {
    return failure.code() == moldex::kErrorChecksum;
  }
  return true;
}

void ReadThrough(const std::string& path, bool to_disk) {
  CContainer container(CRunContext::GetInstance(), path, CContainer::kRead);
  CArchiveReader& archive = container.reader();
  if (!archive.CheckHeader()) return;
  const moldex::fuzz::MemoryFile place({});
  CDirEntry* entry = archive.FirstEntry();
  for (; entry != nullptr; entry = archive.NextEntry()) {
    if (!to_disk) entry->Print();
    if (!archive.DataFollows()) continue;
    if (to_disk && !entry->file().Open(place.Path(), moldex::kOpenReadWrite)) std::abort();
    if (!Restore(archive, *entry, to_disk)) return;
    (void)entry->file().Close();  // what is open is locked
  }
}

}  // namespace

void moldex::fuzz::TryInput(ByteSpan input) {
  const moldex::fuzz::MemoryFile file(input);
  for (const bool to_disk : {false, true}) {
    CRunContext::GetInstance().SetLongNames(false);
    try {
      ReadThrough(file.Path(), to_disk);
    } catch (const moldex::CExcept&) {
      // Damage ends the archive.
    }
  }
  CRunContext::Destroy();
}

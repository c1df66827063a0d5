#include "archive/entry_kinds.h"

#include "archive/output_place.h"
#include "report/except.h"

namespace moldex {

bool CFile::Prepare() {
  if (!OpenForReading()) return false;
  FillHeader(kTypeFile);
  return true;
}

bool CDirectory::Prepare() {
  FillHeader(kTypeDirectory);
  return true;
}

void CDirectory::Create() { CreateOutputDirectory(GetName()); }

bool CLink::Prepare() { return false; }

std::unique_ptr<CDirEntry> MakeEntry(const std::string& disk_name, const FileStatus& status) {
  switch (status.kind) {
    case FileKind::kDirectory:
      return std::make_unique<CDirectory>(disk_name, status);
    case FileKind::kRegular:
      return std::make_unique<CFile>(disk_name, status);
    case FileKind::kSymbolicLink:
      return std::make_unique<CLink>(disk_name, status);
    case FileKind::kOther:
      break;
  }
  throw CExcept("MOLDEX: error creating file object for " + disk_name);
}

}  // namespace moldex

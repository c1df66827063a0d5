#include "archive/archive_reader.h"

#include <utility>

#include "archive/entry_name.h"
#include "report/deferred_failure.h"
#include "report/exit_status.h"
#include "report/progress.h"

namespace moldex {

CArchiveReader::CArchiveReader(CRunContext& context, CFileHandle& file, std::string archive_name,
                               const FileIdentity& identity)
    : context_(context),
      identity_(identity),
      parser_(
          file, std::move(archive_name),
          [this](std::span<const std::uint8_t> stored) { return NameOf(stored); },
          &context_.progress()) {}

std::string CArchiveReader::NameOf(std::span<const std::uint8_t> stored) const {
  const CCmdLineOptions& options = context_.options();
  try {
    const CExitStatusGuard guard;
    return DeliveredName(TextFromUtf8(stored), options.lower_case, options.flat);
  } catch (const CConversionExcept&) {
    FailLater<CConversionExcept>("");
  }
}

bool CArchiveReader::CheckHeader() {
  return RaisingAtOnce([this] { return ReadHeader(); });
}

bool CArchiveReader::ReadHeader() {
  if (!parser_.ReadHeader()) return false;
  if (!std::exchange(has_header_, true)) context_.SetLongNames(parser_.long_names());
  return true;
}

CDirEntry* CArchiveReader::NextEntry() {
  CDirEntry* entry = RaisingAtOnce([this] { return ReadEntry(); });
  if (entry != nullptr) context_.progress().SetCurrentName(entry->GetName());
  return entry;
}

CDirEntry* CArchiveReader::ReadEntry() {
  if (!ReadHeader()) return nullptr;
  const StoredEntry* entry = parser_.NextEntry();
  if (entry == nullptr) return nullptr;
  return source_entry_.Fill(entry->header, entry->name, entry->user_data, entry->link_has_data);
}

DataPiece CArchiveReader::NextPiece() {
  context_.progress().Update();
  return RaisingAtOnce([this] { return parser_.NextPiece(); });
}

void CArchiveReader::CheckEnd() {
  RaisingAtOnce([this] { parser_.CheckEnd(); });
  context_.progress().CountUnpacked(parser_.Unpacked());
}

void CArchiveReader::Rewind() {
  parser_.Rewind();
  has_header_ = false;
}

}  // namespace moldex

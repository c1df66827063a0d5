#include "archive/dir_entry.h"

#include <array>
#include <cerrno>

#include "archive/entry_info.h"
#include "archive/entry_sink.h"
#include "archive/entry_source.h"
#include "platform/attributes.h"
#include "platform/interrupt.h"
#include "report/log_manager.h"
#include "report/system_error.h"

namespace moldex {

CDirEntry::CDirEntry(std::string disk_name, const FileStatus& status)
    : disk_name_(std::move(disk_name)), status_(status) {}

void CDirEntry::Fill(const EntryHeader& header, std::string_view name,
                     std::span<const std::uint8_t> user_data) {
  header_ = header;
  disk_name_ = name;
  user_data_.assign(user_data.begin(), user_data.end());
}

void CDirEntry::Extract(IEntrySource& source, IEntrySink& sink) const {
  Create(sink);
  for (auto piece = source.NextPiece(); !piece.bytes.empty(); piece = source.NextPiece()) {
    ThrowIfInterrupted();
    sink.Write(piece);
  }
  sink.EndData();
  source.CheckEnd();
}

void CDirEntry::Create(IEntrySink& sink) const { sink.MakeFile(*this); }

bool CDirEntry::OpenForReading(bool keep_links) {
  if (!file_.Open(disk_name_, keep_links ? kOpenNoLink : kOpenExisting)) return false;
  const auto status = file_.Status();
  if (!status || status->kind != FileKind::kRegular) return false;
  // Somebody has put something else under the name since the walk found it, perhaps a link.
  if (keep_links && status->identity.Excludes(status_.identity)) {
    RememberErrno(ELOOP);
    return false;
  }
  status_ = *status;
  return status_.size_bytes != 0 || IsEmpty();
}

// Some files of the system have bytes although their size is 0. A file that was written to just now
// has its new size.
bool CDirEntry::IsEmpty() {
  std::array<std::uint8_t, 1> byte{};
  const auto count = file_.Read(byte);
  if (!count) return false;
  if (*count == 0) return true;
  const auto status = file_.Status();
  if (!status || status->size_bytes == 0) {
    RememberErrno(ENOTSUP);
    return false;
  }
  status_ = *status;
  file_.SetPosition(0);
  return true;
}

void CDirEntry::FillHeader(const EntryType& type, const EntrySettings& settings) {
  header_.type = type;
  header_.set_size_bytes(status_.size_bytes);
  header_.mode = status_.mode;
  StoreTime(status_.modified, settings.long_names, &header_);
  if (settings.long_names) FillFromAttributes();
  if (settings.permissions) {
    header_.mode = (header_.mode & kModeKindMask) | (*settings.permissions & 0xFFF);
  }
}

void CDirEntry::FillFromAttributes() {
  header_.mode = ModeOfAttributes(status_.attributes, disk_name_) |
                 (status_.mode & (IsDirectory() ? 0 : kModeOwnerExecute));
}

void CDirEntry::Print(CLogMan& log) const {
  CEntryInfo info(header_, disk_name_);
  log.PrintInfo(info);
}

}  // namespace moldex

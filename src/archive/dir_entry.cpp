#include "archive/dir_entry.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include "archive/archive_reader.h"
#include "archive/archive_writer.h"
#include "archive/compress_strategy.h"
#include "archive/entry_data.h"
#include "archive/entry_info.h"
#include "extraction/output_place.h"
#include "platform/attributes.h"
#include "report/except.h"
#include "report/hints.h"
#include "report/system_error.h"
#include "run/run_context.h"

namespace moldex {
namespace {

// Seconds as the archive holds them; what lies outside its range is taken to its nearest end.
std::uint32_t StoredSeconds(std::int64_t seconds) {
  constexpr std::int64_t kLatest = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(seconds, 0, kLatest));
}

}  // namespace

CDirEntry::CDirEntry(std::string disk_name, const FileStatus& status)
    : disk_name_(disk_name), archive_name_(std::move(disk_name)), status_(status) {}

void CDirEntry::Fill(const EntryHeader& header, std::string name,
                     std::span<const std::uint8_t> user_data) {
  header_ = header;
  disk_name_ = std::move(name);
  archive_name_ = disk_name_;
  user_data_.assign(user_data.begin(), user_data.end());
}

void CDirEntry::Extract(CArchiveReader& archive, bool to_disk) {
  CRunContext& context = CRunContext::GetInstance();
  if (context.options().statistics) context.statistics().CountFile();
  if (context.options().verbose) {
    context.log().PrintMessage((to_disk ? "x " : "d ") + disk_name_);
  }
  if (to_disk) Create();
  try {
    if (NeedsData()) RestoreData(archive, *this, to_disk);
  } catch (const CInterruptExcept&) {
    if (to_disk) HintAtPart();
    throw;
  }
  if (archive.DataFollows()) {
    throw CExcept("MOLDEX: error decompressing " + disk_name_ +
                      "; it has data that its size in the archive does not announce",
                  kErrorBadLength, false);
  }
}

void CDirEntry::HintAtPart() const {
  const auto status = file_.Status();
  if (!status) return;
  KeepHint(OutputPath(disk_name_) + " is not complete: " + std::to_string(status->size_bytes) +
           " of " + std::to_string(header_.size_bytes()) + " bytes");
}

void CDirEntry::Finish() {
  if (CRunContext::GetInstance().long_names()) {
    FinishLongNames();
    return;
  }
  if (!file_.EndWriting()) throw CWriteExcept(OutputPath(disk_name_));
  if (!file_.SetDate(header_.time_low) && !IsShortcut()) {
    throw CChgDateExcept(OutputPath(disk_name_));
  }
  if (!file_.SetPermissions(header_.mode & kModePermissions) && !IsShortcut()) {
    throw CChgModExcept(OutputPath(disk_name_));
  }
  if (!file_.Close()) throw CWriteExcept(OutputPath(disk_name_));
}

// Only the date of the last write is restored here, and attributes instead of permissions.
void CDirEntry::FinishLongNames() {
  if (!file_.SetLastWriteTime(FileTimeOf(header_))) throw CChgDateExcept(OutputPath(disk_name_));
  if (!file_.EndWriting()) throw CWriteExcept(OutputPath(disk_name_));
  const bool executable = (header_.mode & kModeOwnerExecute) != 0;
  if (!file_.SetAttributes(AttributesOfMode(header_.mode), executable)) {
    throw CSetFileAttrExcept(OutputPath(disk_name_));
  }
  if (!file_.Close()) throw CWriteExcept(OutputPath(disk_name_));
}

void CDirEntry::Create() { file_ = CreateOutputFile(disk_name_); }

bool CDirEntry::OpenForReading() {
  const bool keep_links = !CRunContext::GetInstance().options().resolve_links;
  if (!file_.Open(disk_name_, keep_links ? kOpenNoLink : kOpenExisting)) return false;
  const auto status = file_.Status();
  if (!status || status->kind != FileKind::kRegular) return false;
  // Somebody has put something else there since the walk found it, perhaps a link.
  if (keep_links && status->identity.Excludes(status_.identity)) {
    RememberErrno(ELOOP);
    return false;
  }
  status_ = *status;
  return status_.size_bytes != 0 || IsEmpty();
}

// Some files of the system say that they have no bytes and have some. One that was written to only
// now says how many.
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

void CDirEntry::FillHeader(const EntryType& type) {
  const CCmdLineOptions& options = CRunContext::GetInstance().options();
  header_.type = type;
  header_.set_size_bytes(status_.size_bytes);
  header_.mode = status_.mode;
  header_.time_low = StoredSeconds(status_.modified.seconds);
  if (options.long_names) FillFromAttributes();
  if (options.permission_text != nullptr) {
    header_.mode = (header_.mode & kModeKindMask) | (options.permission_value & 0xFFF);
  }
}

void CDirEntry::FillFromAttributes() {
  header_.mode = ModeOfAttributes(status_.attributes, disk_name_) |
                 (status_.mode & (IsDirectory() ? 0 : kModeOwnerExecute));
  const std::uint64_t file_time = FileTimeOf(status_.modified);
  header_.time_low = static_cast<std::uint32_t>(file_time);
  header_.time_high = static_cast<std::uint32_t>(file_time >> 32);
}

void CDirEntry::WriteTo(CArchiveWriter& archive, const std::string& utf8_name,
                        ICompressStrategy& strategy) {
  const bool has_data = header_.size_bytes() != 0 && file_.IsValid();
  if (has_data) strategy.SetEntry(this);
  header_position_ = archive.Position();
  archive.WriteEntry(header_, utf8_name, user_data_);
  if (has_data) strategy.Compress(archive);
  archive.EndEntry();
  (void)file_.Close();
}

void CDirEntry::Print() const {
  CEntryInfo info(header_, disk_name_);
  CRunContext::GetInstance().log().PrintInfo(info);
}

}  // namespace moldex

#include "moldexread/open_archive.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <utility>

#include "platform/attributes.h"
#include "report/error_codes.h"

namespace moldex {
namespace {

// The words of a failure for a program with a name and statuses of its own.
std::string Words(const FailureText& text) {
  constexpr std::string_view kOwnName = "MOLDEX: ";
  return text.message.substr(text.message.starts_with(kOwnName) ? kOwnName.size() : 0);
}

// `text`, and the system's reason if it has one.
std::string WithReason(const std::string& text, const SystemError& error) {
  const std::string reason = SystemErrorText(error);
  return reason.empty() ? text : text + ": " + reason.substr(0, reason.find_first_of("\r\n"));
}

MxrType TypeOf(const StoredEntry& entry) {
  const auto kind = KindOf(entry.header.type);
  if (kind == EntryKind::kDirectory) return kMxrDirectory;
  if (kind == EntryKind::kFile) return kMxrFile;
  return entry.IsSymbolicLink() ? kMxrSymbolicLink : kMxrShortcut;
}

}  // namespace

bool CFilePieces::OnData(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return true;
  if (bytes.size() > INT64_MAX - position_) return false;
  pieces_.push_back({bytes.data(), bytes.size(), position_, 1});
  position_ += bytes.size();
  return true;
}

bool CFilePieces::OnPosition(std::uint64_t position) {
  position_ = position;
  return position <= INT64_MAX;
}

bool CFilePieces::Take(MxrPiece* piece) {
  if (taken_ == pieces_.size()) {
    pieces_.clear();
    taken_ = 0;
    return false;
  }
  *piece = pieces_[taken_++];
  return true;
}

// Does work that returns a status or fails.
template <typename Work>
std::int32_t COpenArchive::Guarded(Work work) {
  try {
    try {
      return work();
    } catch (const CDeferredFailure& failure) {
      return TurnIntoStatus(failure);
    }
  } catch (const std::exception&) {  // only for lack of memory, so this text must need none
    return End(kMxrNoMemory, "out of memory");
  }
}

std::int32_t COpenArchive::Open(unsigned flags) {
  return Guarded([&] { return Begin(flags); });
}

std::int32_t COpenArchive::Begin(unsigned flags) {
  RestoreSystemError({});
  const auto opened = file_.Open(path_, flags);
  if (!opened) return End(kMxrOpenFailed, WithReason("error opening " + path_, opened.error()));
  parser_.emplace(file_, path_, [](std::span<const std::uint8_t> stored) {
    return std::string(stored.begin(), stored.end());
  });
  if (!parser_->ReadHeader()) return End(kMxrNoArchive, path_ + " is no .QEL archive");
  return kMxrOk;
}

std::int32_t COpenArchive::NextEntry(const MxrEntry** entry) {
  if (end_status_ != kMxrOk) return data_status_ = end_status_;
  data_status_ = kMxrBadCall;
  const std::int32_t status = Guarded([this] { return ReadEntry(); });
  if (status == kMxrOk) *entry = &entry_;
  return status;
}

std::int32_t COpenArchive::ReadEntry() {
  RestoreSystemError({});
  const StoredEntry* stored = parser_->NextEntry();
  if (stored == nullptr) return End(kMxrEnd, "");
  FillEntry(*stored);
  data_status_ = stored->NeedsData() ? kMxrOk : kMxrEnd;
  stored_bytes_ = 0;
  backup_ = {};
  file_pieces_ = {};
  return kMxrOk;
}

void COpenArchive::FillEntry(const StoredEntry& stored) {
  const auto& target = stored.user_data;
  link_target_.assign(target.begin(), target.end());
  if (link_target_.find('\0') != std::string::npos) link_target_.clear();
  const EntryHeader& header = stored.header;
  const auto time = TimeOf(header);
  entry_.name = stored.name.c_str();
  entry_.type = TypeOf(stored);
  entry_.link_target = entry_.type == kMxrSymbolicLink ? link_target_.c_str() : nullptr;
  entry_.mode = header.mode;
  entry_.attributes = AttributesOfMode(header.mode);
  if (entry_.type == kMxrDirectory) {
    entry_.attributes = DirectoryAttributesOf(header.mode) | kAttributeDirectory;
  }
  entry_.size = stored.NeedsData() ? header.size_bytes() : 0;
  entry_.has_time = time ? 1 : 0;
  entry_.seconds = time ? time->seconds : 0;
  entry_.ticks = time ? static_cast<std::uint32_t>(time->nanoseconds / kNanosecondsPerStep) : 0;
}

// Does work that reads data of the entry, if it may have more.
template <typename Work>
std::int32_t COpenArchive::NextData(Work work) {
  if (data_status_ == kMxrBadCall) return RefuseCall();
  if (data_status_ != kMxrOk) return data_status_;
  return data_status_ = Guarded(work);
}

std::int32_t COpenArchive::NextStoredPiece(MxrPiece* piece) {
  return NextData([&] { return ReadStored(piece); });
}

std::int32_t COpenArchive::ReadStored(MxrPiece* piece) {
  RestoreSystemError({});
  const DataPiece data = parser_->NextPiece();
  if (data.bytes.empty()) {
    parser_->CheckEnd();
    return kMxrEnd;
  }
  *piece = {data.bytes.data(), data.bytes.size(), stored_bytes_, data.is_backup_stream ? 1 : 0};
  stored_bytes_ += data.bytes.size();
  return kMxrOk;
}

std::int32_t COpenArchive::NextPiece(MxrPiece* piece) {
  return NextData([&] { return ReadFile(piece); });
}

std::int32_t COpenArchive::ReadFile(MxrPiece* piece) {
  while (!file_pieces_.Take(piece)) {
    MxrPiece stored{};
    const std::int32_t status = ReadStored(&stored);
    if (status == kMxrEnd && !backup_.AtStreamEnd())
      FailLater(DataLengthFailure(parser_->entry().name));
    if (status != kMxrOk) return status;
    if (stored.is_backup_stream == 0) {
      *piece = stored;
      return kMxrOk;
    }
    if (!backup_.Feed({stored.bytes, stored.length}, file_pieces_)) {
      FailLater(DataLengthFailure(parser_->entry().name));
    }
  }
  return kMxrOk;
}

std::int32_t COpenArchive::TurnIntoStatus(const CDeferredFailure& failure) {
  const FailureText& text = failure.text();
  if (!parser_->IsLost()) {
    error_text_ = Words(text);
    return kMxrBadData;
  }
  if (parser_->ReadingFailed())
    return End(kMxrReadFailed, WithReason(Words(text), failure.error()));
  if (text.kind == kFailureShortArchive) return End(kMxrNoArchive, path_ + " is no .QEL archive");
  if (text.code == kErrorRead) return End(kMxrCutOff, Words(text) + ": it ends too early");
  return End(kMxrDamaged, Words(text));
}

std::int32_t COpenArchive::RefuseCall() {
  if (end_status_ < kMxrOk) return end_status_;
  return Guarded([this] {
    error_text_ = "wrong call: a null argument, or data before the first entry";
    return kMxrBadCall;
  });
}

// Nothing can be read any more.
std::int32_t COpenArchive::End(std::int32_t status, std::string text) {
  error_text_ = std::move(text);
  return end_status_ = data_status_ = status;
}

}  // namespace moldex

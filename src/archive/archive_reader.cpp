#include "archive/archive_reader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "archive/entry_name.h"
#include "base/bytes.h"
#include "report/deferred_failure.h"
#include "report/exit_status.h"
#include "report/progress.h"

namespace moldex {
namespace {

// Steps over a block are signed 32-bit distances.
constexpr std::uint64_t kLongestStep = 0x7FFFFFFF;

std::string LocalName(std::span<const std::uint8_t> stored) {
  try {
    const CExitStatusGuard guard;
    return NameFromUtf8(stored);
  } catch (const CConversionExcept&) {
    FailLater<CConversionExcept>("");
  }
}

}  // namespace

CArchiveReader::CArchiveReader(CRunContext& context, CFileHandle& file, std::string archive_name,
                               const FileIdentity& identity)
    : context_(context), file_(file), archive_name_(std::move(archive_name)), identity_(identity) {
  reader_.emplace(file_, &context_.progress());
}

bool CArchiveReader::CheckHeader() {
  return RaisingAtOnce([this] { return ReadHeader(); });
}

bool CArchiveReader::ReadHeader() {
  if (is_version2_) return *is_version2_;
  is_version2_ = false;
  const bool is_short = reader_->Peek(kArchiveHeaderBytes).size() < kArchiveHeaderBytes;
  if (is_short && !reader_->Failed()) FailLater<CShortArchiveExcept>(archive_name_);
  const ArchiveFormat format = FormatOf(reader_->Peek(kArchiveStartBytes));
  ReadExactly(kArchiveHeaderBytes);
  if (format == ArchiveFormat::kOther) return false;
  long_names_ = format == ArchiveFormat::kVersion2LongNames;
  context_.SetLongNames(long_names_);
  whole_bytes_ = kArchiveHeaderBytes;
  is_version2_ = true;
  return true;
}

CDirEntry* CArchiveReader::NextEntry() {
  CDirEntry* entry = RaisingAtOnce([this] { return ReadEntry(); });
  if (entry != nullptr) context_.progress().SetCurrentName(entry->GetName());
  return entry;
}

CDirEntry* CArchiveReader::ReadEntry() {
  if (entry_ != nullptr) {
    LeaveEntry();
  } else if (!ReadHeader()) {
    return nullptr;
  }
  entry_start_ = reader_->Position();
  const auto type = ReadType();
  return type ? ReadEntryOf(*type) : nullptr;
}

DataPiece CArchiveReader::NextPiece() {
  context_.progress().Update();
  return RaisingAtOnce([this]() -> DataPiece {
    while (!data_.IsAtEnd()) {
      if (data_.WantsBlock()) {
        data_.AddBlock(GetEntryData());
      } else if (const DataPiece piece = data_.NextPiece(); !piece.bytes.empty()) {
        return piece;
      }
    }
    data_.CheckLength();
    return {};
  });
}

// Passes over the rest of the entry's data.
void CArchiveReader::LeaveEntry() {
  while (DataFollows())
    SkipBlock(IsLastBlock(*ReadType()));
  if (data_wait_) return;
  // Noted only when the next entry is asked for, because the caller may find fault with this one
  // until then.
  whole_bytes_ = reader_->Position();
  whole_name_ = entry_->GetName();
}

void CArchiveReader::CheckEnd() {
  RaisingAtOnce([this] { data_.CheckChecksum(); });
  context_.progress().CountUnpacked(data_.Unpacked());
  if (DataFollows()) throw CSurplusDataExcept(entry_->GetName());
}

void CArchiveReader::Rewind() {
  file_.SetPosition(0);
  reader_.emplace(file_, &context_.progress());
  is_version2_.reset();
  entry_ = nullptr;
}

void CArchiveReader::ReturnToEntry() {
  file_.SetPosition(0);
  reader_.emplace(file_, &context_.progress());
  Skip(entry_start_);
  ReadEntryOf(TypeAt(ReadExactly(kTypeBytes)));
}

std::span<const std::uint8_t> CArchiveReader::ReadExactly(std::size_t count) {
  const auto bytes = reader_->Take(count);
  if (bytes.size() < count) FailLater<CReadExcept>(archive_name_);
  return bytes;
}

// Empty at the end of the archive.
std::optional<EntryType> CArchiveReader::ReadType() {
  if (reader_->Peek(kTypeBytes).empty() && !reader_->Failed()) return std::nullopt;
  return TypeAt(ReadExactly(kTypeBytes));
}

void CArchiveReader::SkipBlock(bool last) {
  const std::uint64_t payload = GetU32(ReadExactly(kBlockHeaderBytes - kTypeBytes).data());
  const std::uint64_t distance = payload + (last ? kChecksumBytes : 0);
  if (distance > kLongestStep) FailLater<CExcept>("MOLDEX: error in second MoveFlPtr()");
  Skip(distance);
  data_wait_ = !last;
}

void CArchiveReader::Skip(std::uint64_t distance) {
  const auto skipped = reader_->Skip(distance);
  if (!skipped) FailLater<CExcept>("MOLDEX: error in second MoveFlPtr()");
  if (*skipped == SkipResult::kBeyondEnd) FailLater<CReadExcept>(archive_name_);
}

CDirEntry* CArchiveReader::ReadEntryOf(const EntryType& type) {
  std::array<std::uint8_t, kEntryHeaderBytes> bytes{};
  std::copy(type.begin(), type.end(), bytes.begin());
  const auto rest = ReadExactly(kEntryHeaderBytes - kTypeBytes);
  std::copy(rest.begin(), rest.end(), bytes.begin() + kTypeBytes);
  const EntryHeader header = DecodeEntryHeader(bytes, long_names_);
  std::string name = ReadName(header.name_length);
  const auto user_data = ReadExactly(header.user_data_length);
  user_data_.assign(user_data.begin(), user_data.end());
  return BuildEntry(header, std::move(name));
}

std::string CArchiveReader::ReadName(std::size_t length) {
  const bool fits = length <= kLongestName + 1;
  const auto stored = fits ? ReadExactly(length) : std::span<const std::uint8_t>();
  if (!fits || (length == kLongestName + 1 && stored.back() != 0)) {
    const std::string where = whole_name_.empty() ? "" : ", behind " + whole_name_;
    FailLater<CExcept>("MOLDEX: name too long in archive " + archive_name_ + where,
                       kErrorNameTooLong, false);
  }
  const CCmdLineOptions& options = context_.options();
  return DeliveredName(LocalName(stored), options.lower_case, options.flat);
}

CDirEntry* CArchiveReader::BuildEntry(const EntryHeader& header, std::string name) {
  const bool is_link = header.type == kTypeShortcut || header.type == kTypeLink;
  CDirEntry* entry =
      source_entry_.Fill(header, std::move(name), user_data_, is_link && DataFollows());
  if (entry == nullptr) FailLater<CExcept>("MOLDEX: unknown entry type encountered");
  entry_ = entry;
  data_wait_ = entry->NeedsData();
  data_.Begin(AnnouncedBy(*entry));
  return entry;
}

bool CArchiveReader::DataFollows() {
  const auto type = reader_->Peek(kTypeBytes);
  return type.size() == kTypeBytes && IsBlockType(TypeAt(type));
}

DataBlock CArchiveReader::GetEntryData() {
  const auto block_header = ReadExactly(kBlockHeaderBytes);
  const EntryType type = TypeAt(block_header);
  const std::size_t payload_length = GetU32(&block_header[kTypeBytes]);
  if (!IsBlockType(type)) {
    FailLater<CExcept>("MOLDEX: error in GetEntryData(); unknown block type");
  }
  if (payload_length == 0 || payload_length > kLargestPayload) {
    const std::string where = entry_ != nullptr ? " of " + entry_->GetName() : std::string();
    FailLater<CBlockLengthExcept>("MOLDEX: invalid length of a block" + where + " in archive " +
                                  archive_name_);
  }
  const bool is_last = IsLastBlock(type);
  const std::size_t trailer = is_last ? kChecksumBytes : 0;
  const auto bytes = ReadExactly(payload_length + trailer);
  DataBlock block{bytes.first(payload_length), !is_last, 0};
  if (!block.more_follow) {
    block.checksum = GetU32(&bytes[payload_length]);
  }
  data_wait_ = block.more_follow;
  return block;
}

}  // namespace moldex

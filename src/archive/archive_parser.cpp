#include "archive/archive_parser.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "archive/entry_name.h"
#include "base/bytes.h"
#include "report/deferred_failure.h"
#include "report/error_codes.h"

namespace moldex {
namespace {

// Steps over a block are signed 32-bit distances.
constexpr std::uint64_t kLongestStep = 0x7FFFFFFF;

}  // namespace

FailureText CBlockLengthExcept::Text(const std::string& message) {
  return CExcept::Text(message, kErrorBadLength, false);
}

CArchiveParser::CArchiveParser(CFileHandle& file, std::string archive_name, NameForm name_form,
                               CProgress* progress)
    : file_(file),
      archive_name_(std::move(archive_name)),
      name_form_(std::move(name_form)),
      progress_(progress) {
  reader_.emplace(file_, progress_);
}

// Fails where nobody can tell what the next bytes are.
template <typename Failure, typename... Arguments>
void CArchiveParser::Lose(Arguments... arguments) {
  is_lost_ = true;
  FailLater<Failure>(std::move(arguments)...);
}

bool CArchiveParser::ReadHeader() {
  if (is_version2_) return *is_version2_;
  is_version2_ = false;
  const bool is_short = reader_->Peek(kArchiveHeaderBytes).size() < kArchiveHeaderBytes;
  if (is_short && !reader_->Failed()) Lose<CShortArchiveExcept>(archive_name_);
  const ArchiveFormat format = FormatOf(reader_->Peek(kArchiveStartBytes));
  ReadExactly(kArchiveHeaderBytes);
  if (format == ArchiveFormat::kOther) return false;
  long_names_ = format == ArchiveFormat::kVersion2LongNames;
  whole_bytes_ = kArchiveHeaderBytes;
  is_version2_ = true;
  return true;
}

const StoredEntry* CArchiveParser::NextEntry() {
  if (has_entry_) {
    LeaveEntry();
  } else if (!ReadHeader()) {
    return nullptr;
  }
  entry_start_ = reader_->Position();
  const auto type = ReadType();
  if (!type) return nullptr;
  ReadEntryOf(*type);
  return &entry_;
}

// Passes over the rest of the entry's data.
void CArchiveParser::LeaveEntry() {
  while (BlockFollows())
    SkipBlock(IsLastBlock(*ReadType()));
  if (data_wait_) return;
  // Noted only when the next entry is asked for, because the caller may find fault with this one
  // until then.
  whole_bytes_ = reader_->Position();
  whole_name_ = entry_.name;
}

DataPiece CArchiveParser::NextPiece() {
  while (!data_.IsAtEnd()) {
    if (data_.WantsBlock()) {
      data_.AddBlock(NextBlock());
    } else if (const DataPiece piece = data_.NextPiece(); !piece.bytes.empty()) {
      return piece;
    }
  }
  data_.CheckLength();
  return {};
}

void CArchiveParser::CheckEnd() {
  data_.CheckChecksum();
  if (BlockFollows()) FailLater(SurplusDataFailure(entry_.name));
}

void CArchiveParser::Rewind() {
  Restart();
  is_version2_.reset();
  has_entry_ = false;
}

void CArchiveParser::ReturnToEntry() {
  Restart();
  Skip(entry_start_);
  ReadEntryOf(TypeAt(ReadExactly(kTypeBytes)));
}

void CArchiveParser::Restart() {
  file_.SetPosition(0);
  reader_.emplace(file_, progress_);
  is_lost_ = false;
}

std::span<const std::uint8_t> CArchiveParser::ReadExactly(std::size_t count) {
  const auto bytes = reader_->Take(count);
  if (bytes.size() < count) LoseAtEnd();
  return bytes;
}

// Apart, so that ReadExactly stays short enough to be part of its callers.
void CArchiveParser::LoseAtEnd() { Lose<CReadExcept>(archive_name_); }

// Empty at the end of the archive.
std::optional<EntryType> CArchiveParser::ReadType() {
  if (reader_->Peek(kTypeBytes).empty() && !reader_->Failed()) return std::nullopt;
  return TypeAt(ReadExactly(kTypeBytes));
}

void CArchiveParser::SkipBlock(bool last) {
  const std::uint64_t payload = GetU32(ReadExactly(kBlockHeaderBytes - kTypeBytes).data());
  const std::uint64_t distance = payload + (last ? kChecksumBytes : 0);
  if (distance > kLongestStep) Lose<CExcept>("MOLDEX: error in second MoveFlPtr()");
  Skip(distance);
  data_wait_ = !last;
}

void CArchiveParser::Skip(std::uint64_t distance) {
  const auto skipped = reader_->Skip(distance);
  if (!skipped) Lose<CExcept>("MOLDEX: error in second MoveFlPtr()");
  if (*skipped == SkipResult::kBeyondEnd) Lose<CReadExcept>(archive_name_);
}

void CArchiveParser::ReadEntryOf(const EntryType& type) {
  std::array<std::uint8_t, kEntryHeaderBytes> bytes{};
  std::copy(type.begin(), type.end(), bytes.begin());
  const auto rest = ReadExactly(kEntryHeaderBytes - kTypeBytes);
  std::copy(rest.begin(), rest.end(), bytes.begin() + kTypeBytes);
  entry_.header = DecodeEntryHeader(bytes, long_names_);
  ReadName(entry_.header.name_length);
  const auto user_data = ReadExactly(entry_.header.user_data_length);
  entry_.user_data.assign(user_data.begin(), user_data.end());
  const auto kind = KindOf(type);
  if (!kind) Lose<CExcept>("MOLDEX: unknown entry type encountered");
  has_entry_ = true;
  entry_.link_has_data = *kind == EntryKind::kLink && BlockFollows();
  data_wait_ = entry_.NeedsData();
  data_.Begin({entry_.name, data_wait_ ? entry_.header.size_bytes() : 0, long_names_});
}

void CArchiveParser::ReadName(std::size_t length) {
  const bool fits = length <= kLongestName + 1;
  const auto stored = fits ? ReadExactly(length) : std::span<const std::uint8_t>();
  if (!fits || (length == kLongestName + 1 && stored.back() != 0)) {
    const std::string where = whole_name_.empty() ? "" : ", after " + whole_name_;
    Lose<CExcept>("MOLDEX: name too long in archive " + archive_name_ + where, kErrorNameTooLong,
                  false);
  }
  // Bytes after an earlier zero than the one at the end are ignored.
  const std::string_view text(reinterpret_cast<const char*>(stored.data()), stored.size());
  const std::size_t name_bytes = std::min(text.find('\0'), text.size());
  entry_.name = name_form_(stored.first(std::min(name_bytes, kLongestName)));
}

bool CArchiveParser::BlockFollows() {
  const auto type = reader_->Peek(kTypeBytes);
  return type.size() == kTypeBytes && IsBlockType(TypeAt(type));
}

DataBlock CArchiveParser::NextBlock() {
  const auto block_header = ReadExactly(kBlockHeaderBytes);
  const EntryType type = TypeAt(block_header);
  const std::size_t payload_length = GetU32(&block_header[kTypeBytes]);
  if (!IsBlockType(type)) {
    Lose<CExcept>("MOLDEX: error in GetEntryData(); unknown block type");
  }
  if (payload_length == 0 || payload_length > kLargestPayload) {
    const std::string where = has_entry_ ? " of " + entry_.name : std::string();
    Lose<CBlockLengthExcept>("MOLDEX: invalid length of a block" + where + " in archive " +
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

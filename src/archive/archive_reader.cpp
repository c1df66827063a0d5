#include "archive/archive_reader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "archive/entry_name.h"
#include "base/bytes.h"
#include "report/progress.h"

namespace moldex {
namespace {

// Steps over a block are signed 32-bit distances.
constexpr std::uint64_t kLongestStep = 0x7FFFFFFF;

}  // namespace

CArchiveReader::CArchiveReader(CRunContext& context, CFileHandle& file, std::string archive_name,
                               const FileIdentity& identity)
    : context_(context),
      file_(file),
      archive_name_(std::move(archive_name)),
      identity_(identity),
      data_(*this, context.progress()) {
  reader_.emplace(file_, &context_.progress());
}

bool CArchiveReader::CheckHeader() {
  if (is_version2_) return *is_version2_;
  is_version2_ = false;
  const bool is_short = reader_->Peek(kArchiveHeaderBytes).size() < kArchiveHeaderBytes;
  if (is_short && !reader_->Failed()) throw CShortArchiveExcept(archive_name_);
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
  if (entry_ != nullptr) {
    LeaveEntry();
  } else if (!CheckHeader()) {
    return nullptr;
  }
  const auto type = ReadType();
  return type ? ReadEntry(*type) : nullptr;
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
  data_.CheckChecksum();
  if (!DataFollows()) return;
  throw CExcept("MOLDEX: error decompressing " + entry_->GetName() +
                    "; it has data that its size in the archive does not announce",
                kErrorBadLength, false);
}

void CArchiveReader::Rewind() {
  file_.SetPosition(0);
  reader_.emplace(file_, &context_.progress());
  is_version2_.reset();
  entry_ = nullptr;
}

std::span<const std::uint8_t> CArchiveReader::ReadExactly(std::size_t count) {
  const auto bytes = reader_->Take(count);
  if (bytes.size() < count) throw CReadExcept(archive_name_);
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
  if (distance > kLongestStep) throw CExcept("MOLDEX: error in second MoveFlPtr()");
  const auto skipped = reader_->Skip(distance);
  if (!skipped) throw CExcept("MOLDEX: error in second MoveFlPtr()");
  if (*skipped == SkipResult::kBeyondEnd) throw CReadExcept(archive_name_);
  data_wait_ = !last;
}

CDirEntry* CArchiveReader::ReadEntry(const EntryType& type) {
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
    throw CExcept("MOLDEX: name too long in archive " + archive_name_ + where, kErrorNameTooLong,
                  false);
  }
  const CCmdLineOptions& options = context_.options();
  return DeliveredName(NameFromUtf8(stored), options.lower_case, options.flat);
}

CDirEntry* CArchiveReader::BuildEntry(const EntryHeader& header, std::string name) {
  CDirEntry* entry = nullptr;
  if (header.type == kTypeFile) entry = &file_entry_;
  if (header.type == kTypeDirectory) entry = &directory_entry_;
  if (header.type == kTypeShortcut || header.type == kTypeLink) entry = &link_entry_;
  if (entry == nullptr) throw CExcept("MOLDEX: unknown entry type encountered");
  context_.progress().SetCurrentName(name);
  entry->Fill(header, std::move(name), user_data_);
  entry_ = entry;
  if (entry == &link_entry_) link_entry_.SetHasData(DataFollows());
  data_wait_ = entry->NeedsData();
  data_.Begin(*entry, data_wait_);
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
    throw CExcept("MOLDEX: error in GetEntryData(); unknown block type");
  }
  if (payload_length == 0 || payload_length > kLargestPayload) {
    const std::string where = entry_ != nullptr ? " of " + entry_->GetName() : std::string();
    throw CBlockLengthExcept("MOLDEX: invalid length of a block" + where + " in archive " +
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

#include "archive/container.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string_view>

#include "archive/entry_name.h"
#include "base/bytes.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/output.h"
#include "report/status_line.h"
#include "report/system_error.h"
#include "run/run_context.h"

namespace moldex {
namespace {

constexpr std::size_t kMagicBytes = 4;
constexpr char kMagic[] = "VUK ";  // its last byte is zero in long-name mode
constexpr char kVersion[] = "2.00";

constexpr std::size_t kTypeBytes = 2;
constexpr std::size_t kChecksumBytes = 4;
constexpr EntryType kBlock = {'D', 'A'};
constexpr EntryType kLastBlock = {'E', 'D'};

// Steps over a block are signed 32-bit distances.
constexpr std::uint64_t kLongestStep = 0x7FFFFFFF;

enum class Format { kOther, kVersion2, kVersion2LongNames };

// What the format is told by: the header and, if anything follows, what may begin an entry.
constexpr std::size_t kArchiveStartBytes = kArchiveHeaderBytes + kEntryHeaderBytes;

Format FormatOf(std::span<const std::uint8_t> start) {
  if (start.size() < kArchiveHeaderBytes) return Format::kOther;
  if (std::memcmp(&start[kMagicBytes], kVersion, 4) != 0) return Format::kOther;
  if (start.size() >= kArchiveStartBytes && !IsEntryType(&start[kArchiveHeaderBytes])) {
    return Format::kOther;
  }
  if (std::memcmp(start.data(), kMagic, kMagicBytes) == 0) return Format::kVersion2;
  const bool long_names = std::memcmp(start.data(), kMagic, 3) == 0 && start[3] == 0;
  return long_names ? Format::kVersion2LongNames : Format::kOther;
}

EntryType TypeAt(std::span<const std::uint8_t> bytes) {
  return {static_cast<char>(bytes[0]), static_cast<char>(bytes[1])};
}

bool IsBlockType(const EntryType& type) { return type == kBlock || type == kLastBlock; }

}  // namespace

CContainer::CContainer(const std::string& archive_name, std::uint32_t mode)
    : archive_name_(archive_name) {
  if (!file_.Open(archive_name, mode >> 24)) throw COpenExcept(archive_name);
  const auto status = file_.Status();
  if (!status) throw COpenExcept(archive_name);
  identity_ = status->identity;
  is_regular_ = status->kind == FileKind::kRegular;
  former_size_bytes_ = status->size_bytes;
  if (mode == kRead) {
    status_line::BeginsPart(is_regular_ ? former_size_bytes_ : 0);
    reader_.emplace(file_);
    return;
  }
  if (mode == kAppend) {
    OpenForAppending();
    position_ = former_size_bytes_;
    entry_ends_.push_back(position_);
  }
  is_version2_ = true;
  writer_.emplace(file_);
}

void CContainer::OpenForAppending() {
  std::array<std::uint8_t, kArchiveStartBytes> start{};
  file_.SetPosition(0);
  const Transfer transfer = file_.Read(start);
  if (!transfer.ok) throw CReadExcept(archive_name_);
  const Format format = FormatOf(std::span(start).first(transfer.bytes));
  if (format == Format::kOther) throw CInvalExcept(archive_name_);
  const bool is_cut_off = transfer.bytes > kArchiveHeaderBytes && transfer.bytes < start.size();
  if (is_cut_off) throw CReadExcept(archive_name_);
  // What is added has to look like what is there.
  CRunContext::GetInstance().SetLongNames(format == Format::kVersion2LongNames);
  if (!file_.SeekToEnd()) throw COpenExcept(archive_name_);
}

void CContainer::WriteHeader() {
  std::array<std::uint8_t, kArchiveHeaderBytes> header{};
  std::memcpy(header.data(), kMagic, kMagicBytes);
  std::memcpy(&header[kMagicBytes], kVersion, 4);
  if (CRunContext::GetInstance().long_names()) header[kMagicBytes - 1] = 0;
  Write(header);
  EndEntry();
}

void CContainer::WriteEntry(EntryHeader header, const std::string& utf8_name,
                            std::span<const std::uint8_t> user_data) {
  header.name_length = static_cast<std::uint16_t>(utf8_name.size() + 1);
  header.user_data_length = static_cast<std::uint16_t>(user_data.size());
  write_buffer_.resize(kEntryHeaderBytes);
  EncodeEntryHeader(header, std::span<std::uint8_t, kEntryHeaderBytes>(write_buffer_));
  write_buffer_.insert(write_buffer_.end(), utf8_name.begin(), utf8_name.end());
  write_buffer_.push_back(0);
  write_buffer_.insert(write_buffer_.end(), user_data.begin(), user_data.end());
  Write(write_buffer_);
}

void CContainer::PatchEntrySize(std::uint32_t header_position, std::uint32_t size_bytes) {
  if (position_ > std::numeric_limits<std::uint32_t>::max()) {
    RememberErrno(EOVERFLOW);
    throw CSetFilePointerExcept();
  }
  if (!writer_->Flush()) throw CWriteExcept(archive_name_);
  const std::uint32_t end = file_.GetPosition();
  std::array<std::uint8_t, 8> field{};
  PutU32(field.data(), size_bytes);
  file_.SetPosition(header_position + static_cast<std::uint32_t>(kSizeFieldOffset));
  const Transfer transfer = file_.Write(field);
  if (!transfer.ok || transfer.bytes != field.size()) throw CWriteExcept(archive_name_);
  file_.SetPosition(end);
}

void CContainer::Write(std::span<const std::uint8_t> bytes) {
  ThrowIfInterrupted();
  if (!writer_->Write(bytes)) throw CWriteExcept(archive_name_);
  position_ += bytes.size();
}

void CContainer::Finish() {
  if (!writer_->Flush() || !file_.Close()) throw CWriteExcept(archive_name_);
}

void CContainer::EndEntry() {
  const std::uint64_t on_disk_bytes = position_ - writer_->PendingBytes();
  while (entry_ends_.size() > 1 && entry_ends_[1] <= on_disk_bytes)
    entry_ends_.pop_front();
  entry_ends_.push_back(position_);
}

void CContainer::CutBack() {
  writer_->Drop();
  if (is_regular_ && !file_.Truncate(former_size_bytes_)) throw CWriteExcept(archive_name_);
}

std::vector<std::string> CContainer::KeepWholeEntries() {
  std::vector<std::string> complaints;
  const auto complain = [&](const std::string& text) {
    complaints.push_back(Shown("MOLDEX: " + text + archive_name_ + ". ") + LastSystemErrorText());
  };
  if (!entry_ends_.empty()) whole_bytes_ = entry_ends_.back();
  if (!is_regular_) {
    writer_->Drop();
    return complaints;
  }
  interrupt::Mute();
  if (!writer_->Flush()) complain("could not write all whole entries to ");
  // Closing it may have been what failed.
  const std::string& path = CRunContext::GetInstance().archive_path();
  const bool open = file_.IsValid() || file_.Open(path, kOpenReadWrite);
  auto status = open ? file_.Status() : std::nullopt;
  if (status && status->identity != identity_) status.reset();
  const std::uint64_t size_bytes = status ? status->size_bytes : whole_bytes_;
  while (!entry_ends_.empty() && entry_ends_.back() > size_bytes)
    entry_ends_.pop_back();
  // Shorter than it was: somebody else's doing, and nothing to be emptied.
  if (entry_ends_.empty() && former_size_bytes_ > 0) status.reset();
  whole_bytes_ = entry_ends_.empty() ? former_size_bytes_ : entry_ends_.back();
  const bool cut = status && (size_bytes == whole_bytes_ || file_.Truncate(whole_bytes_));
  if (!cut || !file_.Close()) {
    complain("could not cut back to byte " + std::to_string(whole_bytes_) + " the archive ");
  }
  return complaints;
}

bool CContainer::Delete(const std::string& path) {
  // Open again, it is locked: nobody else begins to write into it.
  if (!file_.IsValid() && !file_.Open(path, kOpenReadWrite)) return false;
  const auto status = file_.Status();
  return status && status->identity == identity_ && file_.Delete(path);
}

bool CContainer::CheckHeader() {
  if (is_version2_) return *is_version2_;
  is_version2_ = false;
  const bool is_short = reader_->Peek(kArchiveHeaderBytes).size() < kArchiveHeaderBytes;
  if (is_short && !reader_->Failed()) throw CShortArchiveExcept(archive_name_);
  const Format format = FormatOf(reader_->Peek(kArchiveStartBytes));
  ReadExactly(kArchiveHeaderBytes);
  if (format == Format::kOther) return false;
  CRunContext::GetInstance().SetLongNames(format == Format::kVersion2LongNames);
  whole_bytes_ = kArchiveHeaderBytes;
  is_version2_ = true;
  return true;
}

CDirEntry* CContainer::FirstEntry() {
  if (!CheckHeader()) return nullptr;
  EntryType type;
  return ReadType(&type) ? ReadEntry(type) : nullptr;
}

CDirEntry* CContainer::NextEntry() {
  EntryType type;
  while (DataFollows() && ReadType(&type))
    SkipBlock(type == kLastBlock);
  NoteWholeEntry();
  return ReadType(&type) ? ReadEntry(type) : nullptr;
}

bool CContainer::CanRewind() {
  if (is_regular_) return true;
  RememberErrno(ESPIPE);
  return false;
}

void CContainer::Rewind() {
  file_.SetPosition(0);
  reader_.emplace(file_);
  is_version2_.reset();
}

std::span<const std::uint8_t> CContainer::ReadExactly(std::size_t count) {
  const auto bytes = reader_->Take(count);
  if (bytes.size() < count) throw CReadExcept(archive_name_);
  return bytes;
}

// False at the end of the archive.
bool CContainer::ReadType(EntryType* type) {
  if (reader_->Peek(kTypeBytes).empty() && !reader_->Failed()) return false;
  *type = TypeAt(ReadExactly(kTypeBytes));
  return true;
}

void CContainer::SkipBlock(bool last) {
  const std::uint64_t payload = GetU32(ReadExactly(kBlockHeaderBytes - kTypeBytes).data());
  const std::uint64_t distance = payload + (last ? kChecksumBytes : 0);
  if (distance > kLongestStep) throw CExcept("MOLDEX: error in second MoveFlPtr()");
  switch (reader_->Skip(distance)) {
    case CBufferedReader::SkipResult::kMoved:
      data_wait_ = !last;
      return;
    case CBufferedReader::SkipResult::kBeyondEnd:
      throw CReadExcept(archive_name_);
    case CBufferedReader::SkipResult::kFailed:
      throw CExcept("MOLDEX: error in second MoveFlPtr()");
  }
}

// Only when the next entry is asked for: until then the caller may find fault with this one.
void CContainer::NoteWholeEntry() {
  if (entry_ == nullptr || data_wait_) return;
  whole_bytes_ = reader_->Position();
  whole_name_ = entry_->GetName();
}

CDirEntry* CContainer::ReadEntry(const EntryType& type) {
  std::array<std::uint8_t, kEntryHeaderBytes> bytes{};
  std::copy(type.begin(), type.end(), bytes.begin());
  const auto rest = ReadExactly(kEntryHeaderBytes - kTypeBytes);
  std::copy(rest.begin(), rest.end(), bytes.begin() + kTypeBytes);
  const EntryHeader header = DecodeEntryHeader(bytes, CRunContext::GetInstance().long_names());
  std::string name = ReadName(header.name_length);
  const auto user_data = ReadExactly(header.user_data_length);
  user_data_.assign(user_data.begin(), user_data.end());
  return BuildEntry(header, std::move(name));
}

std::string CContainer::ReadName(std::size_t length) {
  const bool fits = length <= kLongestName + 1;
  const auto stored = fits ? ReadExactly(length) : std::span<const std::uint8_t>();
  if (!fits || (length == kLongestName + 1 && stored.back() != 0)) {
    const std::string where = whole_name_.empty() ? "" : ", behind " + whole_name_;
    throw CExcept("MOLDEX: name too long in archive " + archive_name_ + where, kErrorNameTooLong,
                  false);
  }
  const CCmdLineOptions& options = CRunContext::GetInstance().options();
  return DeliveredName(NameFromUtf8(stored), options.lower_case, options.flat);
}

CDirEntry* CContainer::BuildEntry(const EntryHeader& header, std::string name) {
  CDirEntry* entry = nullptr;
  if (header.type == kTypeFile) entry = &file_entry_;
  if (header.type == kTypeDirectory) entry = &directory_entry_;
  if (header.type == kTypeShortcut || header.type == kTypeLink) entry = &link_entry_;
  if (entry == nullptr) throw CExcept("MOLDEX: unknown entry type encountered");
  status_line::IsAt(name);
  entry->Fill(header, std::move(name), user_data_);
  entry_ = entry;
  if (entry == &link_entry_) link_entry_.SetHasData(DataFollows());
  data_wait_ = entry->NeedsData();
  return entry;
}

bool CContainer::DataFollows() {
  const auto type = reader_->Peek(kTypeBytes);
  return type.size() == kTypeBytes && IsBlockType(TypeAt(type));
}

DataBlock CContainer::GetEntryData() {
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
  const std::size_t trailer = type == kLastBlock ? kChecksumBytes : 0;
  const auto bytes = ReadExactly(payload_length + trailer);
  DataBlock block{bytes.first(payload_length), type == kBlock, 0};
  if (!block.more_follow) {
    block.checksum = GetU32(&bytes[payload_length]);
  }
  data_wait_ = block.more_follow;
  return block;
}

}  // namespace moldex

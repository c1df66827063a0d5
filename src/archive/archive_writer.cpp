#include "archive/archive_writer.h"

#include <array>
#include <cerrno>
#include <limits>
#include <utility>

#include "archive/cut_back.h"
#include "base/bytes.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/system_error.h"

namespace moldex {

CArchiveWriter::CArchiveWriter(CFileHandle& file, std::string archive_name)
    : file_(file), archive_name_(std::move(archive_name)), writer_(file) {}

void CArchiveWriter::Begin(const FileStatus& former) {
  former_ = former;
  position_ = former.size_bytes;
  if (position_ > 0) entry_ends_.push_back(position_);
}

void CArchiveWriter::WriteHeader(bool long_names) {
  Write(ArchiveHeader(long_names));
  EndEntry();
}

void CArchiveWriter::WriteEntry(EntryHeader header, const std::string& utf8_name,
                                std::span<const std::uint8_t> user_data) {
  header.name_length = static_cast<std::uint16_t>(utf8_name.size() + 1);
  header.user_data_length = static_cast<std::uint16_t>(user_data.size());
  entry_buffer_.resize(kEntryHeaderBytes);
  EncodeEntryHeader(header, std::span<std::uint8_t, kEntryHeaderBytes>(entry_buffer_));
  entry_buffer_.insert(entry_buffer_.end(), utf8_name.begin(), utf8_name.end());
  entry_buffer_.push_back(0);
  entry_buffer_.insert(entry_buffer_.end(), user_data.begin(), user_data.end());
  Write(entry_buffer_);
}

void CArchiveWriter::PatchEntrySize(std::uint32_t header_position, std::uint32_t size_bytes) {
  if (position_ > std::numeric_limits<std::uint32_t>::max()) {
    RememberErrno(EOVERFLOW);
    throw CSetFilePointerExcept();
  }
  if (!writer_.Flush()) throw CWriteExcept(archive_name_);
  const std::uint32_t end = file_.GetPosition();
  std::array<std::uint8_t, 8> field{};
  PutU32(field.data(), size_bytes);
  file_.SetPosition(header_position + static_cast<std::uint32_t>(kSizeFieldOffset));
  if (!file_.WriteAll(field)) throw CWriteExcept(archive_name_);
  file_.SetPosition(end);
}

void CArchiveWriter::Write(std::span<const std::uint8_t> bytes) {
  ThrowIfInterrupted();
  if (!writer_.Write(bytes)) throw CWriteExcept(archive_name_);
  position_ += bytes.size();
}

void CArchiveWriter::EndEntry() {
  const std::uint64_t on_disk_bytes = position_ - writer_.PendingBytes();
  while (entry_ends_.size() > 1 && entry_ends_[1] <= on_disk_bytes)
    entry_ends_.pop_front();
  entry_ends_.push_back(position_);
}

void CArchiveWriter::Finish() {
  if (!writer_.Flush() || !file_.Close()) throw CWriteExcept(archive_name_);
}

void CArchiveWriter::CutBackToFormer() {
  writer_.Drop();
  if (IsRegularFile() && !file_.Truncate(former_.size_bytes)) throw CWriteExcept(archive_name_);
}

std::vector<std::string> CArchiveWriter::KeepWholeEntries(const std::string& path) {
  std::vector<std::string> complaints;
  if (!entry_ends_.empty()) whole_bytes_ = entry_ends_.back();
  if (!IsRegularFile()) {
    writer_.Drop();
    return complaints;
  }
  interrupt::Mute();
  if (!writer_.Flush()) {
    complaints.push_back(RepairFailure("could not write all whole entries to ", archive_name_));
  }
  auto status = ReopenArchive(file_, path, former_.identity);
  const std::uint64_t size_bytes = status ? status->size_bytes : whole_bytes_;
  while (!entry_ends_.empty() && entry_ends_.back() > size_bytes)
    entry_ends_.pop_back();
  // Somebody else has made the archive shorter than it was. That is no reason to empty it.
  if (entry_ends_.empty() && former_.size_bytes > 0) status.reset();
  whole_bytes_ = entry_ends_.empty() ? former_.size_bytes : entry_ends_.back();
  const std::string complaint = CutBack(file_, status, whole_bytes_, archive_name_);
  if (!complaint.empty()) complaints.push_back(complaint);
  return complaints;
}

bool CArchiveWriter::Delete(const std::string& path) {
  // Opening the archive again locks it, so that nobody else begins to write into it.
  return ReopenArchive(file_, path, former_.identity) && file_.Delete(path).ok();
}

}  // namespace moldex

#include "platform/backup_stream.h"

#include <algorithm>
#include <utility>

#include "base/bytes.h"

namespace moldex {
namespace {

constexpr std::size_t kRecordHeadBytes =
    8;  // next record (4), flags, name length, value length (2)
constexpr std::size_t kRecordAlignment = 4;

std::size_t Aligned(std::size_t bytes) {
  return (bytes + kRecordAlignment - 1) / kRecordAlignment * kRecordAlignment;
}

constexpr std::size_t kPositionBytes = 8;

std::size_t RecordBytes(const ExtendedAttribute& attribute) {
  return kRecordHeadBytes + attribute.name.size() + 1 + attribute.value.size();
}

bool Fits(const ExtendedAttribute& attribute, std::size_t start) {
  return attribute.name.size() <= 0xFF && attribute.value.size() <= 0xFFFF &&
         start + RecordBytes(attribute) <= kLongestExtended;
}

void AppendRecord(const ExtendedAttribute& attribute, std::vector<std::uint8_t>* bytes) {
  const std::size_t start = bytes->size();
  bytes->resize(start + kRecordHeadBytes);
  (*bytes)[start + 5] = static_cast<std::uint8_t>(attribute.name.size());
  PutU16(&(*bytes)[start + 6], static_cast<std::uint16_t>(attribute.value.size()));
  bytes->insert(bytes->end(), attribute.name.begin(), attribute.name.end());
  bytes->push_back(0);
  bytes->insert(bytes->end(), attribute.value.begin(), attribute.value.end());
}

}  // namespace

void EncodeStreamHead(const StreamHead& head, std::span<std::uint8_t, kStreamIdBytes> to) {
  PutU32(&to[0], head.id);
  PutU32(&to[4], head.attributes);
  PutU64(&to[8], head.size_bytes);
  PutU32(&to[16], head.name_bytes);
}

StreamHead DecodeStreamHead(std::span<const std::uint8_t, kStreamIdBytes> from) {
  return {GetU32(&from[0]), GetU32(&from[4]), GetU64(&from[8]), GetU32(&from[16])};
}

bool IsBackupStream(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return false;
  while (!bytes.empty()) {
    if (bytes.size() < kStreamIdBytes) return false;
    const StreamHead head = DecodeStreamHead(bytes.first<kStreamIdBytes>());
    if (head.id == 0 || head.id > kLastStreamId) return false;
    bytes = bytes.subspan(kStreamIdBytes);
    if (head.name_bytes > bytes.size()) return false;
    bytes = bytes.subspan(head.name_bytes);
    if (head.size_bytes > bytes.size()) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(head.size_bytes));
  }
  return true;
}

std::vector<std::uint8_t> EncodeExtendedAttributes(const std::vector<ExtendedAttribute>& list) {
  std::vector<std::uint8_t> bytes;
  std::size_t last = 0;
  for (const ExtendedAttribute& attribute : list) {
    const std::size_t start = Aligned(bytes.size());
    if (!Fits(attribute, start)) continue;
    if (start > 0) PutU32(&bytes[last], static_cast<std::uint32_t>(start - last));
    bytes.resize(start);
    last = start;
    AppendRecord(attribute, &bytes);
  }
  return bytes;
}

std::optional<ExtendedAttributeView> TakeExtendedAttribute(std::span<const std::uint8_t>* records) {
  const std::span<const std::uint8_t> bytes = std::exchange(*records, {});
  if (bytes.size() < kRecordHeadBytes) return std::nullopt;
  const std::size_t next = GetU32(bytes.data());
  const std::size_t name_bytes = bytes[5];
  const std::size_t value_bytes = GetU16(&bytes[6]);
  const std::size_t record_bytes = kRecordHeadBytes + name_bytes + 1 + value_bytes;
  if (bytes.size() < record_bytes) return std::nullopt;
  if (next >= record_bytes && next <= bytes.size()) *records = bytes.subspan(next);
  const auto* name = reinterpret_cast<const char*>(&bytes[kRecordHeadBytes]);
  return ExtendedAttributeView{{name, name_bytes},
                               bytes.subspan(record_bytes - value_bytes, value_bytes)};
}

bool CBackupStreamParser::Feed(std::span<const std::uint8_t> bytes, IBackupSink& sink) {
  while (!bytes.empty() && !refused_)
    bytes = bytes.subspan(TakePart(bytes, sink));
  return !refused_;
}

std::size_t CBackupStreamParser::UnjudgedBytes() const {
  if (name_left_ == 0) return head_bytes_.size();
  return kStreamIdBytes + head_.name_bytes - static_cast<std::size_t>(name_left_);
}

// Takes the next part of a head, a name or a stream, and returns its length.
std::size_t CBackupStreamParser::TakePart(std::span<const std::uint8_t> bytes, IBackupSink& sink) {
  if (AtStreamEnd() || !head_bytes_.empty()) return TakeHead(bytes, sink);
  std::uint64_t& left = name_left_ > 0 ? name_left_ : stream_left_;
  const bool in_name = name_left_ > 0;
  std::size_t part = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), left));
  if (in_name) {
    refused_ = !sink.OnName(bytes.first(part));
  } else if (IsPosition()) {
    part = Collect(bytes.first(part), kPositionBytes);
    position_known_ = collected_.size() == kPositionBytes;
    if (position_known_) refused_ = !sink.OnPosition(GetU64(collected_.data()));
  } else if (head_.id == kStreamData || head_.id == kStreamSparseBlock) {
    refused_ = !sink.OnData(bytes.first(part));
  } else if (head_.id == kStreamExtended && head_.size_bytes <= kLongestExtended) {
    Collect(bytes.first(part), static_cast<std::size_t>(head_.size_bytes));
    if (part == left) refused_ = !sink.OnExtendedAttributes(collected_);
  }
  left -= part;
  return part;
}

std::size_t CBackupStreamParser::TakeHead(std::span<const std::uint8_t> bytes, IBackupSink& sink) {
  const std::size_t part = std::min(bytes.size(), kStreamIdBytes - head_bytes_.size());
  head_bytes_.insert(head_bytes_.end(), bytes.begin(),
                     bytes.begin() + static_cast<std::ptrdiff_t>(part));
  if (head_bytes_.size() == kStreamIdBytes) {
    head_ = DecodeStreamHead(std::span<const std::uint8_t, kStreamIdBytes>(head_bytes_));
    head_bytes_.clear();
    name_left_ = head_.name_bytes;
    stream_left_ = head_.size_bytes;
    collected_.clear();
    position_known_ = false;
    refused_ = !sink.OnStream(head_);
  }
  return part;
}

// Adds to what is collected, up to `whole` bytes in all; returns how many were taken.
std::size_t CBackupStreamParser::Collect(std::span<const std::uint8_t> bytes, std::size_t whole) {
  const std::size_t part = std::min(bytes.size(), whole - collected_.size());
  collected_.insert(collected_.end(), bytes.begin(),
                    bytes.begin() + static_cast<std::ptrdiff_t>(part));
  return part;
}

// Whether the position of a sparse block comes next.
bool CBackupStreamParser::IsPosition() const {
  return head_.id == kStreamSparseBlock && !position_known_;
}

}  // namespace moldex

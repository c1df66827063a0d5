#include "archive/entry_header.h"

#include <algorithm>
#include <limits>

#include "base/bytes.h"

namespace moldex {

void StoreTime(const TimePoint& time, bool long_names, EntryHeader* header) {
  header->has_file_time = long_names;
  if (long_names) {
    const std::uint64_t file_time = FileTimeOf(time);
    header->time_low = static_cast<std::uint32_t>(file_time);
    header->time_high = static_cast<std::uint32_t>(file_time >> 32);
    return;
  }
  constexpr std::int64_t kLatest = std::numeric_limits<std::uint32_t>::max();
  header->time_low = static_cast<std::uint32_t>(std::clamp<std::int64_t>(time.seconds, 0, kLatest));
  header->time_high = 0;
}

void EncodeEntryHeader(const EntryHeader& header, std::span<std::uint8_t, kEntryHeaderBytes> to) {
  std::copy(header.type.begin(), header.type.end(), to.begin());
  PutU32(&to[2], header.mode);
  PutU32(&to[kSizeFieldOffset], header.size_low);
  PutU32(&to[10], 0);
  PutU32(&to[14], header.size_high);
  PutU32(&to[18], header.time_low);
  PutU32(&to[22], header.time_high);
  PutU32(&to[26], header.reserved);
  PutU16(&to[30], header.user_data_length);
  PutU16(&to[32], header.name_length);
}

EntryHeader DecodeEntryHeader(std::span<const std::uint8_t, kEntryHeaderBytes> from,
                              bool long_names) {
  EntryHeader header;
  header.type = {static_cast<char>(from[0]), static_cast<char>(from[1])};
  header.mode = GetU32(&from[2]);
  header.size_low = GetU32(&from[kSizeFieldOffset]);
  header.size_high = GetU32(&from[14]);
  header.time_low = GetU32(&from[18]);
  header.time_high = long_names ? GetU32(&from[22]) : 0;
  header.reserved = GetU32(&from[26]);
  header.user_data_length = GetU16(&from[30]);
  header.name_length = GetU16(&from[32]);
  header.has_file_time = long_names;
  return header;
}

std::optional<EntryKind> KindOf(const EntryType& type) {
  if (type == kTypeFile) return EntryKind::kFile;
  if (type == kTypeDirectory) return EntryKind::kDirectory;
  if (type == kTypeShortcut || type == kTypeLink) return EntryKind::kLink;
  return std::nullopt;
}

bool AnnouncesData(const EntryHeader& header, bool link_has_data) {
  const auto kind = KindOf(header.type);
  if (kind == EntryKind::kDirectory) return false;
  return header.size_bytes() != 0 && (kind != EntryKind::kLink || link_has_data);
}

bool IsEntryType(const std::uint8_t* bytes) {
  // "SV" begins an entry that this version recognises but cannot build.
  constexpr EntryType kTypes[] = {kTypeFile, kTypeDirectory, kTypeShortcut, kTypeLink, {'S', 'V'}};
  const EntryType type = {static_cast<char>(bytes[0]), static_cast<char>(bytes[1])};
  return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

}  // namespace moldex

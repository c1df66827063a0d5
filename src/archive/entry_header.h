// The fixed 34 bytes that precede every archived object.
//
//   offset size
//        0    2  type, two letters
//        2    4  mode
//        6    4  low half of the size
//       10    4  zero
//       14    4  high half of the size
//       18    8  modification time: 32-bit seconds since 1970 and four zero bytes; in an archive in
//                long-name mode a Windows FILETIME
//       26    4  reserved, kept as it is
//       30    2  length of the user data that follow the name
//       32    2  length of the name that follows, its terminating zero included
//
// All numbers are little-endian. The size is no 64-bit number at offset 6: its halves are apart.
#ifndef MOLDEX_ARCHIVE_ENTRY_HEADER_H_
#define MOLDEX_ARCHIVE_ENTRY_HEADER_H_

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/file_time.h"

namespace moldex {

inline constexpr std::size_t kEntryHeaderBytes = 34;
inline constexpr std::size_t kSizeFieldOffset = 6;

using EntryType = std::array<char, 2>;

inline constexpr EntryType kTypeFile = {'R', 'G'};
inline constexpr EntryType kTypeDirectory = {'D', 'R'};
inline constexpr EntryType kTypeShortcut = {'S', 'C'};
inline constexpr EntryType kTypeLink = {'L', 'K'};

struct EntryHeader {
  EntryType type = kTypeFile;
  std::uint32_t mode = 0;
  std::uint32_t size_low = 0;
  std::uint32_t size_high = 0;
  std::uint32_t time_low = 0;
  std::uint32_t time_high = 0;  // long-name mode only
  std::uint32_t reserved = 0;
  std::uint16_t user_data_length = 0;
  std::uint16_t name_length = 0;
  // Whether the time is a FILETIME: the entry belongs to an archive in long-name mode.
  bool has_file_time = false;

  std::uint64_t size_bytes() const { return std::uint64_t{size_high} << 32 | size_low; }
  void set_size_bytes(std::uint64_t bytes) {
    size_low = static_cast<std::uint32_t>(bytes);
    size_high = static_cast<std::uint32_t>(bytes >> 32);
  }
};

// The 64-bit modification time of a header in long-name mode.
inline std::uint64_t FileTimeOf(const EntryHeader& header) {
  return std::uint64_t{header.time_high} << 32 | header.time_low;
}

// The modification time; empty for a 64-bit time that stands for none.
inline std::optional<TimePoint> TimeOf(const EntryHeader& header) {
  if (!header.has_file_time) return TimePoint{header.time_low, 0};
  return TimeOfFileTime(FileTimeOf(header));
}

// Stores a modification time, as a FILETIME in long-name mode. Seconds that 32 bits cannot hold
// become the nearest that they can.
void StoreTime(const TimePoint& time, bool long_names, EntryHeader* header);

void EncodeEntryHeader(const EntryHeader& header, std::span<std::uint8_t, kEntryHeaderBytes> to);

// The upper half of the time is decoded in long-name mode only.
EntryHeader DecodeEntryHeader(std::span<const std::uint8_t, kEntryHeaderBytes> from,
                              bool long_names);

enum class EntryKind { kFile, kDirectory, kLink };

// Empty for a type that this version cannot build.
std::optional<EntryKind> KindOf(const EntryType& type);

// Whether blocks have to follow an entry. A link may be stored without data whatever its size says:
// only the archive tells.
bool AnnouncesData(const EntryHeader& header, bool link_has_data);

// Whether two bytes are a type that may begin an entry.
bool IsEntryType(const std::uint8_t* bytes);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_HEADER_H_

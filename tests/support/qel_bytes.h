// The archive format seen from outside: built, taken apart and damaged as bytes.
//
// Written from the format's layout and from zlib alone, never through the code under test, so that
// a mistake made alike in writing and in reading does not hide.
#ifndef MOLDEX_TESTS_SUPPORT_QEL_BYTES_H_
#define MOLDEX_TESTS_SUPPORT_QEL_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace moldex::test {

inline constexpr std::string_view kArchiveHeader = "VUK 2.00";
inline constexpr std::string_view kLongNamesHeader{
    "VUK\0"
    "2.00",
    8};
inline constexpr std::size_t kMaxPayload = 65536;

// Where fields of an entry's 34 bytes stand.
inline constexpr std::size_t kModeAt = 2;
inline constexpr std::size_t kSizeLowAt = 6;
inline constexpr std::size_t kSizeHighAt = 14;
inline constexpr std::size_t kUserDataLengthAt = 30;
inline constexpr std::size_t kNameLengthAt = 32;
inline constexpr std::size_t kEntryHeaderBytes = 34;

// A data block: two letters, the payload's length in four bytes, the payload.
inline constexpr std::size_t kPayloadLengthAt = 2;
inline constexpr std::size_t kBlockHeaderBytes = 6;

struct QelBlock {
  std::string type;  // "DA", or "ED" for an entry's last
  std::string payload;
  std::size_t offset = 0;  // in the archive; set by ParseArchive
};

struct QelEntry {
  std::string type = "RG";
  std::uint32_t mode = 0100644;
  std::uint32_t size_low = 0;
  std::uint32_t zero_word = 0;
  std::uint32_t size_high = 0;
  std::uint32_t time_low = 1105103100;  // 07 Jan 2005 13:05 UTC
  std::uint32_t time_high = 0;
  std::uint32_t reserved = 0;
  std::string name;  // without the zero byte that closes it
  std::string user_data;
  std::vector<QelBlock> blocks;
  std::uint32_t checksum = 0;       // present when there are blocks
  std::size_t offset = 0;           // in the archive; set by ParseArchive, like the next
  std::size_t checksum_offset = 0;  // 0 without blocks
};

// CRC-32 that starts at 0 and is not inverted at its end.
std::uint32_t Checksum(std::string_view bytes);

// One compressed stream: an 8-byte header, RFC 1951 data, a zero byte. Throws where zlib would
// store instead of compressing, which the format does not know.
std::string CompressedStream(std::string_view content);

// An entry with its data cut into blocks of at most `piece` bytes.
QelEntry FileEntry(std::string name, std::string_view content, std::uint32_t mode = 0100644,
                   std::size_t piece = kMaxPayload);
QelEntry DirectoryEntry(std::string name, std::uint32_t mode = 040755);
QelEntry LinkEntry(std::string name, std::string target);  // a symbolic one, stored itself

// One stream of a backup stream, which a file's content may be in long-name mode.
std::string BackupStream(std::uint32_t id, std::string_view content, std::string_view name = "");

std::string EncodeEntry(const QelEntry& entry);
std::string BuildArchive(const std::vector<QelEntry>& entries,
                         std::string_view header = kArchiveHeader);

// Takes an archive apart. Throws std::runtime_error on anything that the layout does not allow.
std::vector<QelEntry> ParseArchive(std::string_view archive);

// The bytes an entry stands for: its blocks joined and inflated, stream after stream. Throws when a
// stream is malformed or its header's length is not what it holds; compares no checksum.
std::string ContentOf(const QelEntry& entry);

// The vocabulary of damage.
void FlipByte(std::string& bytes, std::size_t offset, unsigned mask);
void SetByte(std::string& bytes, std::size_t offset, unsigned value);
void SetU16(std::string& bytes, std::size_t offset, std::uint32_t value);
void SetU32(std::string& bytes, std::size_t offset, std::uint32_t value);
std::uint32_t U16At(std::string_view bytes, std::size_t offset);
std::uint32_t U32At(std::string_view bytes, std::size_t offset);
// Makes the checksum of the archive's entry number `index` true again, for damage that the checksum
// would report before the check that is meant.
void FixChecksum(std::string& archive, std::size_t index);

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_QEL_BYTES_H_

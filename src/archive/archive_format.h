// The version-2 archive format: what its bytes mean, as pure functions and constants.
//
// An archive is an 8-byte header (magic "VUK " or, in long-name mode, "VUK\0", then "2.00") and
// entries back to back up to the end of the file. An entry is its fixed header (entry_header.h),
// its name in UTF-8 with a terminating zero, its user data and, when it has data, a chain of
// blocks: 2 bytes type ("DA", or "ED" for the last), 4 bytes payload length, the payload. A 4-byte
// checksum (checksum.h) follows the last block.
#ifndef MOLDEX_ARCHIVE_ARCHIVE_FORMAT_H_
#define MOLDEX_ARCHIVE_ARCHIVE_FORMAT_H_

#include <array>
#include <cstdint>
#include <span>

#include "archive/entry_header.h"

namespace moldex {

inline constexpr std::size_t kArchiveHeaderBytes = 8;
inline constexpr std::size_t kTypeBytes = 2;
inline constexpr std::size_t kBlockHeaderBytes = 6;
inline constexpr std::size_t kChecksumBytes = 4;

// The largest payload that a block may have.
inline constexpr std::size_t kLargestPayload = 65536;

// One data block as it stands in the archive.
struct DataBlock {
  std::span<const std::uint8_t> payload;  // valid until the next call on the reader
  bool more_follow = false;
  std::uint32_t checksum = 0;  // of the whole entry; set for the last block only
};

enum class ArchiveFormat { kOther, kVersion2, kVersion2LongNames };

// The bytes that FormatOf needs: the header and, if anything follows, the start of an entry.
inline constexpr std::size_t kArchiveStartBytes = kArchiveHeaderBytes + kEntryHeaderBytes;

// The format of an archive that begins with these bytes. They are fewer than kArchiveStartBytes
// only if the file is shorter. A file has another format if something that cannot begin an entry
// follows its header.
ArchiveFormat FormatOf(std::span<const std::uint8_t> start);

std::array<std::uint8_t, kArchiveHeaderBytes> ArchiveHeader(bool long_names);

// The type that an entry or a block begins with; `bytes` holds at least kTypeBytes.
inline EntryType TypeAt(std::span<const std::uint8_t> bytes) {
  return {static_cast<char>(bytes[0]), static_cast<char>(bytes[1])};
}

inline bool IsLastBlock(const EntryType& type) { return type[0] == 'E' && type[1] == 'D'; }

// Compares byte by byte: reading an archive does this often, and comparing arrays calls a function.
inline bool IsBlockType(const EntryType& type) {
  return IsLastBlock(type) || (type[0] == 'D' && type[1] == 'A');
}

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ARCHIVE_FORMAT_H_

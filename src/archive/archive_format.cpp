#include "archive/archive_format.h"

#include <cstring>

namespace moldex {
namespace {

constexpr std::size_t kMagicBytes = 4;
constexpr char kMagic[] = "VUK ";  // its last byte is zero in long-name mode
constexpr char kVersion[] = "2.00";

}  // namespace

ArchiveFormat FormatOf(std::span<const std::uint8_t> start) {
  if (start.size() < kArchiveHeaderBytes) return ArchiveFormat::kOther;
  if (std::memcmp(&start[kMagicBytes], kVersion, 4) != 0) return ArchiveFormat::kOther;
  if (start.size() >= kArchiveStartBytes && !IsEntryType(&start[kArchiveHeaderBytes])) {
    return ArchiveFormat::kOther;
  }
  if (std::memcmp(start.data(), kMagic, kMagicBytes) == 0) return ArchiveFormat::kVersion2;
  const bool long_names = std::memcmp(start.data(), kMagic, 3) == 0 && start[3] == 0;
  return long_names ? ArchiveFormat::kVersion2LongNames : ArchiveFormat::kOther;
}

std::array<std::uint8_t, kArchiveHeaderBytes> ArchiveHeader(bool long_names) {
  std::array<std::uint8_t, kArchiveHeaderBytes> header{};
  std::memcpy(header.data(), kMagic, kMagicBytes);
  std::memcpy(&header[kMagicBytes], kVersion, 4);
  if (long_names) header[kMagicBytes - 1] = 0;
  return header;
}

}  // namespace moldex

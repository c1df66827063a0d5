// The status of one object of a file system.
#ifndef MOLDEX_PLATFORM_FILE_STATUS_H_
#define MOLDEX_PLATFORM_FILE_STATUS_H_

#include <cstdint>

#include "base/file_time.h"

namespace moldex {

enum class FileKind { kRegular, kDirectory, kSymbolicLink, kOther };

// Tells one object from every other on the machine, whatever it is called.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;

  // The device of an object that the system cannot tell from others; its number differs each time.
  static constexpr std::uint64_t kUnknownDevice = UINT64_MAX;

  bool operator==(const FileIdentity&) const = default;
  // Whether this is certainly not the other object.
  bool Excludes(const FileIdentity& other) const {
    return device != kUnknownDevice && other.device != kUnknownDevice && *this != other;
  }
};

struct FileStatus {
  FileKind kind = FileKind::kOther;
  std::uint32_t mode =
      0;  // kind in the bits 0xF000, permissions in the low 12, as st_mode has them
  std::uint64_t size_bytes = 0;
  TimePoint modified;
  std::uint32_t attributes = 0;  // as Windows has them (attributes.h)
  FileIdentity identity;
};

// Bits of a mode word, shared by the file system, the archive and the listing.
inline constexpr std::uint32_t kModeKindMask = 0xF000;
inline constexpr std::uint32_t kModeDirectory = 0x4000;
inline constexpr std::uint32_t kModeRegular = 0x8000;
inline constexpr std::uint32_t kModeShortcut = 0x1000;
inline constexpr std::uint32_t kModePermissions = 0x1FF;

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_FILE_STATUS_H_

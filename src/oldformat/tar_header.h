// The 512-byte header that precedes everything in a tar archive.
//
//   offset size                        offset size
//        0  100  name                     257    8  magic: "ustar\0" and "00", "ustar  \0" (GNU),
//      100    8  mode                               or nothing (Unix version 7)
//      124   12  size                     345  155  with the first magic: start of the name,
//      136   12  modification time                  which a "/" follows
//      148    8  sum of the bytes         386       sparse file of GNU tar: where its parts
//      156    1  type                               are; 482 whether blocks with more follow,
//      157  100  target of a link                   483 12 the file's size
//
// Numbers are octal text, or big-endian with the first byte's top bit set. These are
// pure functions of the bytes; the reader puts together several headers of one entry.
#ifndef MOLDEX_OLDFORMAT_TAR_HEADER_H_
#define MOLDEX_OLDFORMAT_TAR_HEADER_H_

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>

namespace moldex {

inline constexpr std::size_t kTarBlockBytes = 512;
using TarBlock = std::span<const std::uint8_t, kTarBlockBytes>;

// The largest amount of data that an entry may have: filled up to whole blocks, it is still a
// signed number.
inline constexpr std::uint64_t kLargestTarSize =
    std::numeric_limits<std::int64_t>::max() - kTarBlockBytes;

enum class TarKind : std::uint8_t {
  kFile,
  kDirectory,
  kSymbolicLink,
  kHardLink,
  kDevice,
  kFifo,
  kSparseFile,
  kUnknown,
  // These kinds are no entries but describe one.
  kLongName,  // the name of the next entry
  kLongLink,  // its link's target
  kRecords,   // pax records of the next entry
  kDefaults,  // pax records of all that follow, of which the time counts
  kVolumeLabel
};

struct TarHeader {
  TarKind kind = TarKind::kUnknown;
  std::string name;
  std::string link_target;
  std::uint64_t data_bytes = 0;  // in the archive, after this header
  std::uint64_t size_bytes = 0;  // of the file
  // Data that may follow a hard link. Most writers give the size of the file, but not its data.
  std::uint64_t doubtful_bytes = 0;
  std::uint32_t permissions = 0;
  std::int64_t modified_seconds = 0;  // since 1970, negative before
  bool parts_follow = false;          // blocks with more parts of a sparse file
};

bool IsZeroBlock(TarBlock block);

// Whether the block's checksum is right, its bytes summed up as unsigned or as signed numbers:
// there are programs that wrote the latter. A block of zeros has no checksum.
bool IsTarHeader(TarBlock block);

// Empty when a size is not possible. Permissions and times that cannot be read become 0644 and
// 1970.
std::optional<TarHeader> ParseTarHeader(TarBlock block);

// Whether a block of parts of a sparse file is followed by another one.
bool MorePartsFollow(TarBlock parts);

// A number field. Empty for text that is no number, and for a number that does not fit 64 bits. A
// field of blanks is 0.
std::optional<std::int64_t> TarNumber(std::span<const std::uint8_t> field);

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_TAR_HEADER_H_

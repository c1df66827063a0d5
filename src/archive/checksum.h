// The checksum that closes an entry's data: CRC-32 with the reflected polynomial 0xEDB88320,
// started at 0 and not inverted at the end, over the uncompressed bytes. Both differ from the
// common CRC-32: the nine bytes "123456789" give 0x2DFD2D88.
#ifndef MOLDEX_ARCHIVE_CHECKSUM_H_
#define MOLDEX_ARCHIVE_CHECKSUM_H_

#include <cstdint>
#include <span>

namespace moldex {

// The checksum after `bytes`, given the one before them; 0 at the start of an entry.
std::uint32_t UpdateChecksum(std::uint32_t checksum, std::span<const std::uint8_t> bytes);

// The checksum of two pieces of data one after the other, given that of each started at 0.
std::uint32_t CombineChecksums(std::uint32_t first, std::uint32_t second,
                               std::uint64_t second_length);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CHECKSUM_H_

// The ways there are to compute the checksum. The portable one serves any machine; the others need
// instructions that not every processor has, and are listed apart so that the program chooses among
// them once and the tests run every one that this machine can.
#ifndef MOLDEX_ARCHIVE_CHECKSUM_VARIANTS_H_
#define MOLDEX_ARCHIVE_CHECKSUM_VARIANTS_H_

#include <cstdint>
#include <span>

namespace moldex {

inline constexpr std::uint32_t kChecksumPolynomial = 0xEDB88320;  // bit 31 stands for x^0

struct ChecksumVariant {
  const char* name;
  bool (*runs_here)();
  std::uint32_t (*update)(std::uint32_t checksum, std::span<const std::uint8_t> bytes);
};

std::uint32_t UpdateChecksumPortably(std::uint32_t checksum, std::span<const std::uint8_t> bytes);

// Those of the processor family that the program is built for, fastest first; none for most.
std::span<const ChecksumVariant> ChecksumVariantsOfCpu();

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CHECKSUM_VARIANTS_H_

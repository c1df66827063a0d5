// The ways to compute the checksum. The portable one runs on any machine. The others need
// instructions that not every processor has; they are listed apart, so that the program chooses
// among them once, and the tests run every one that this machine can.
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

// The variants for the processor family that the program is built for, fastest first. Most families
// have none.
std::span<const ChecksumVariant> ChecksumVariantsOfCpu();

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CHECKSUM_VARIANTS_H_

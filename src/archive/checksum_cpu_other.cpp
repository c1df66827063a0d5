// Processors for which there is nothing better than the portable checksum.
#include "archive/checksum_variants.h"

namespace moldex {

std::span<const ChecksumVariant> ChecksumVariantsOfCpu() { return {}; }

}  // namespace moldex

// The data that NTFS keeps of a symbolic link, in its reparse point.
#ifndef MOLDEX_PLATFORM_REPARSE_DATA_H_
#define MOLDEX_PLATFORM_REPARSE_DATA_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace moldex {

// The target of a symbolic link as it was given, from REPARSE_DATA_BUFFER: tag (4 bytes), length of
// what follows (2), reserved (2); then offset and length of the substitute name and of the print
// name (2 bytes each, counted from the end of the flags), flags (4), names in UTF-16. Empty when
// the data are not those of a symbolic link, or damaged.
std::optional<std::u16string> SymbolicLinkTarget(std::span<const std::uint8_t> data);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_REPARSE_DATA_H_

// Entry names on their way between the program (local code page) and the archive (UTF-8).
#ifndef MOLDEX_ARCHIVE_ENTRY_NAME_H_
#define MOLDEX_ARCHIVE_ENTRY_NAME_H_

#include <cstdint>
#include <span>
#include <string>

namespace moldex {

// The longest name, in bytes without the terminating zero, in an archive and in the program.
inline constexpr std::size_t kLongestName = 260;

// Throws CConversionExcept when the name does not come back from UTF-8 as it went in.
std::string NameToUtf8(const std::string& name);

// The local form of UTF-8 of any length, without terminating zero. Throws CConversionExcept.
std::string TextFromUtf8(std::span<const std::uint8_t> utf8);

// The name that commands get for a stored name: in small ASCII letters, or without its directories,
// where the options ask for that.
std::string DeliveredName(std::string name, bool lower, bool flat);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_NAME_H_

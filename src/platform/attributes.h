// Windows file attributes and the mode word of an archive entry: one table, both ways.
//
// In long-name mode an entry's mode is made from attributes. Bits of the mode from 0x40000 upward
// stand for one attribute each; the owner's write bit stands for the absence of "read-only".
#ifndef MOLDEX_PLATFORM_ATTRIBUTES_H_
#define MOLDEX_PLATFORM_ATTRIBUTES_H_

#include <cstdint>
#include <string_view>

namespace moldex {

inline constexpr std::uint32_t kAttributeReadOnly = 0x1;
inline constexpr std::uint32_t kAttributeHidden = 0x2;
inline constexpr std::uint32_t kAttributeSystem = 0x4;
inline constexpr std::uint32_t kAttributeDirectory = 0x10;
inline constexpr std::uint32_t kAttributeNormal = 0x80;

inline constexpr std::uint32_t kModeOwnerRead = 0x100;
inline constexpr std::uint32_t kModeOwnerWrite = 0x80;
inline constexpr std::uint32_t kModeOwnerExecute = 0x40;

// A name that ends in .exe, .cmd, .bat or .com, in small letters, is executable. The kind is set
// for a directory alone: a plain file has kind 0.
std::uint32_t ModeOfAttributes(std::uint32_t attributes, std::string_view name);

// The attributes of an extracted file. The kind, and all permissions but the owner's write bit,
// have no attribute.
std::uint32_t AttributesOfMode(std::uint32_t mode);

// The attributes "hidden" and "system" that the mode of a directory asks for, or 0.
std::uint32_t DirectoryAttributesOf(std::uint32_t mode);

// The mode word that Windows' runtime library makes of a file's attributes and name. Everybody may
// read. Everybody may write unless the file is read-only. Everybody may execute a directory, and a
// file whose name ends like that of a program, in letters of any case.
std::uint32_t RuntimeModeOf(std::uint32_t attributes, std::string_view name);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_ATTRIBUTES_H_

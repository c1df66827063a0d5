#include "platform/attributes.h"

#include <algorithm>
#include <string>

#include "base/ascii.h"
#include "platform/file_status.h"

namespace moldex {
namespace {

struct AttributeBit {
  std::uint32_t attribute;
  std::uint32_t mode_bit;
};

constexpr AttributeBit kAttributeBits[] = {
    {kAttributeHidden, 0x40000}, {kAttributeSystem, 0x80000}, {0x20, 0x100000},  // archive
    {0x800, 0x200000},                                                           // compressed
    {0x4000, 0x400000},                                                          // encrypted
    {0x1000, 0x800000},                                                          // offline
    {0x400, 0x1000000},                                                          // reparse point
    {0x200, 0x2000000},                                                          // sparse file
    {0x100, 0x4000000},                                                          // temporary
};

bool IsExecutableName(std::string_view name) {
  for (const char* ending : {".exe", ".cmd", ".bat", ".com"}) {
    if (name.ends_with(ending)) return true;
  }
  return false;
}

}  // namespace

std::uint32_t ModeOfAttributes(std::uint32_t attributes, std::string_view name) {
  std::uint32_t mode = kModeOwnerRead;
  if ((attributes & kAttributeReadOnly) == 0) mode |= kModeOwnerWrite;
  if ((attributes & kAttributeDirectory) != 0) mode |= kModeDirectory;
  if (IsExecutableName(name)) mode |= kModeOwnerExecute;
  for (const AttributeBit& bit : kAttributeBits) {
    if ((attributes & bit.attribute) != 0) mode |= bit.mode_bit;
  }
  return mode;
}

std::uint32_t AttributesOfMode(std::uint32_t mode) {
  std::uint32_t attributes = (mode & kModeOwnerWrite) != 0 ? kAttributeNormal : kAttributeReadOnly;
  for (const AttributeBit& bit : kAttributeBits) {
    if ((mode & bit.mode_bit) == 0) continue;
    attributes = (attributes & ~kAttributeNormal) | bit.attribute;
  }
  return attributes;
}

std::uint32_t DirectoryAttributesOf(std::uint32_t mode) {
  return AttributesOfMode(mode | kModeOwnerWrite) & (kAttributeHidden | kAttributeSystem);
}

std::uint32_t RuntimeModeOf(std::uint32_t attributes, std::string_view name) {
  constexpr std::uint32_t kAllRead = 0444;
  constexpr std::uint32_t kAllWrite = 0222;
  constexpr std::uint32_t kAllExecute = 0111;
  const bool directory = (attributes & kAttributeDirectory) != 0;
  const std::string ending =
      LowerAscii(name.substr(name.size() - std::min<std::size_t>(name.size(), 4)));
  std::uint32_t mode = kAllRead | (directory ? kModeDirectory : kModeRegular);
  if ((attributes & kAttributeReadOnly) == 0) mode |= kAllWrite;
  if (directory || IsExecutableName(ending)) mode |= kAllExecute;
  return mode;
}

}  // namespace moldex

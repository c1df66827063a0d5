#include "oldformat/tar_header.h"

#include <algorithm>
#include <cstring>

namespace moldex {
namespace {

struct Field {
  std::size_t offset;
  std::size_t bytes;
};

constexpr Field kName = {0, 100};
constexpr Field kMode = {100, 8};
constexpr Field kSize = {124, 12};
constexpr Field kTime = {136, 12};
constexpr Field kChecksum = {148, 8};
constexpr std::size_t kType = 156;
constexpr Field kLink = {157, 100};
constexpr Field kMagic = {257, 6};
constexpr Field kPrefix = {345, 155};
constexpr std::size_t kPartsFollow = 482;
constexpr Field kSparseSize = {483, 12};
constexpr std::size_t kMorePartsFollow = 504;

constexpr std::uint32_t kModeBits = 07777;
constexpr std::uint32_t kUsualPermissions = 0644;

// Types that are not listed are unknown. A type without data has none whatever its size says.
struct TypeLetter {
  char letter;
  TarKind kind;
  bool has_data;
};

constexpr TypeLetter kTypes[] = {
    {'\0', TarKind::kFile, true},         {'0', TarKind::kFile, true},
    {'7', TarKind::kFile, true},          {'1', TarKind::kHardLink, false},
    {'2', TarKind::kSymbolicLink, false}, {'3', TarKind::kDevice, false},
    {'4', TarKind::kDevice, false},       {'5', TarKind::kDirectory, false},
    {'6', TarKind::kFifo, false},         {'D', TarKind::kDirectory, true},  // with the names in it
    {'S', TarKind::kSparseFile, true},    {'L', TarKind::kLongName, true},
    {'K', TarKind::kLongLink, true},      {'x', TarKind::kRecords, true},
    {'X', TarKind::kRecords, true},       {'g', TarKind::kDefaults, true},
    {'V', TarKind::kVolumeLabel, true},
};

std::span<const std::uint8_t> Of(TarBlock block, Field field) {
  return block.subspan(field.offset, field.bytes);
}

std::string Text(std::span<const std::uint8_t> field) {
  return {field.begin(), std::find(field.begin(), field.end(), std::uint8_t{0})};
}

std::optional<std::int64_t> BinaryNumber(std::span<const std::uint8_t> field) {
  // The top bit marks the form, the one below it is the sign.
  const bool negative = (field[0] & 0x40) != 0;
  std::int64_t value = negative ? -1 : 0;
  for (std::size_t i = 0; i < field.size(); ++i) {
    const int byte = i > 0 ? field[i] : negative ? field[i] | 0x80 : field[i] & 0x7F;
    if (value >> 55 != (negative ? -1 : 0)) return std::nullopt;
    value = value * 256 + byte;
  }
  return value;
}

std::optional<std::int64_t> OctalNumber(std::span<const std::uint8_t> field) {
  const auto is_blank = [](std::uint8_t c) { return c == ' ' || c == 0; };
  const auto is_digit = [](std::uint8_t c) { return c >= '0' && c <= '7'; };
  const auto begin = std::find_if_not(field.begin(), field.end(), is_blank);
  const auto end = std::find_if_not(begin, field.end(), is_digit);
  if (end != field.end() && !is_blank(*end)) return std::nullopt;
  std::int64_t value = 0;  // no field has more digits than it can hold
  for (auto digit = begin; digit != end; ++digit)
    value = value * 8 + (*digit - '0');
  return value;
}

std::string NameIn(TarBlock block) {
  std::string name = Text(Of(block, kName));
  const std::string prefix = Text(Of(block, kPrefix));
  const bool has_prefix = std::memcmp(&block[kMagic.offset], "ustar\0", kMagic.bytes) == 0;
  return has_prefix && !prefix.empty() ? prefix + '/' + name : name;
}

std::optional<std::uint64_t> SizeIn(TarBlock block, Field field) {
  const auto size = TarNumber(Of(block, field));
  if (!size || *size < 0 || static_cast<std::uint64_t>(*size) > kLargestTarSize) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(*size);
}

bool ReadSparse(TarBlock block, TarHeader* header) {
  const auto size = SizeIn(block, kSparseSize);
  if (!size) return false;
  header->size_bytes = *size;
  header->parts_follow = block[kPartsFollow] != 0;
  return true;
}

}  // namespace

bool IsZeroBlock(TarBlock block) {
  return std::all_of(block.begin(), block.end(), [](std::uint8_t byte) { return byte == 0; });
}

bool IsTarHeader(TarBlock block) {
  std::int64_t unsigned_sum = 0;
  std::int64_t signed_sum = 0;
  for (std::size_t i = 0; i < block.size(); ++i) {
    const bool in_checksum = i - kChecksum.offset < kChecksum.bytes;
    const std::uint8_t byte = in_checksum ? std::uint8_t{' '} : block[i];
    unsigned_sum += byte;
    signed_sum += static_cast<std::int8_t>(byte);
  }
  const auto stored = TarNumber(Of(block, kChecksum));
  return !IsZeroBlock(block) && stored && (*stored == unsigned_sum || *stored == signed_sum);
}

std::optional<TarHeader> ParseTarHeader(TarBlock block) {
  TarHeader header;
  const char letter = static_cast<char>(block[kType]);
  const auto* type = std::find_if(std::begin(kTypes), std::end(kTypes),
                                  [letter](const TypeLetter& row) { return row.letter == letter; });
  const bool known = type != std::end(kTypes);
  if (known) header.kind = type->kind;
  header.name = NameIn(block);
  header.link_target = Text(Of(block, kLink));
  if (!known || type->has_data) {
    const auto size = SizeIn(block, kSize);
    if (!size) return std::nullopt;
    header.data_bytes = header.size_bytes = *size;
  }
  if (header.kind == TarKind::kHardLink) {
    header.doubtful_bytes = SizeIn(block, kSize).value_or(0);
  }
  header.permissions =
      static_cast<std::uint32_t>(TarNumber(Of(block, kMode)).value_or(kUsualPermissions)) &
      kModeBits;
  header.modified_seconds = TarNumber(Of(block, kTime)).value_or(0);
  if (header.kind == TarKind::kSparseFile && !ReadSparse(block, &header)) return std::nullopt;
  return header;
}

bool MorePartsFollow(TarBlock parts) { return parts[kMorePartsFollow] != 0; }

std::optional<std::int64_t> TarNumber(std::span<const std::uint8_t> field) {
  return (field[0] & 0x80) != 0 ? BinaryNumber(field) : OctalNumber(field);
}

}  // namespace moldex

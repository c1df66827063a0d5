#include "platform/backup_filter.h"

#include <string_view>

#include "base/bytes.h"

namespace moldex {
namespace {

constexpr char16_t kColon = u':';
constexpr std::size_t kLongestStreamName = 255;  // characters
constexpr std::u16string_view kDataType = u":$DATA";
constexpr std::size_t kLongestNameBytes = 2 * (1 + kLongestStreamName + kDataType.size());

bool RestoresAFile(std::uint32_t id) {
  switch (id) {
    case kStreamData:
    case kStreamExtended:
    case kStreamSecurity:
    case kStreamAlternate:
    case kStreamSparseBlock:
      return true;
    default:
      return false;
  }
}

// A name with a separator, or with another type of stream, could lead elsewhere.
bool IsStreamName(std::span<const std::uint8_t> bytes) {
  std::u16string text;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
    text.push_back(static_cast<char16_t>(GetU16(&bytes[at])));
  std::u16string_view name = text;
  if (!name.starts_with(kColon)) return false;
  name.remove_prefix(1);
  if (name.ends_with(kDataType)) name.remove_suffix(kDataType.size());
  constexpr std::u16string_view kElsewhere(u":/\\\0", 4);
  return !name.empty() && name.size() <= kLongestStreamName &&
         name.find_first_of(kElsewhere) == std::u16string_view::npos;
}

}  // namespace

std::optional<std::span<const std::uint8_t>> CBackupFilter::Feed(
    std::span<const std::uint8_t> bytes) {
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(given_out_));
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  given_out_ = 0;
  if (!parser_.Feed(bytes, *this)) return std::nullopt;
  given_out_ = bytes_.size() - parser_.UnjudgedBytes();
  return std::span<const std::uint8_t>(bytes_).first(given_out_);
}

bool CBackupFilter::OnStream(const StreamHead& head) {
  name_.clear();
  name_bytes_ = head.name_bytes;
  if (head.id != kStreamAlternate) return RestoresAFile(head.id) && name_bytes_ == 0;
  return name_bytes_ != 0 && name_bytes_ <= kLongestNameBytes && name_bytes_ % 2 == 0;
}

bool CBackupFilter::OnName(std::span<const std::uint8_t> part) {
  name_.insert(name_.end(), part.begin(), part.end());
  return name_.size() < name_bytes_ || IsStreamName(name_);
}

}  // namespace moldex

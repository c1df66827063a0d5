#include "platform/security_descriptor.h"

#include "base/bytes.h"

namespace moldex {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kHeadBytes = 20;
constexpr std::size_t kOwnerAt = 4;
constexpr std::size_t kGroupAt = 8;
constexpr std::size_t kSystemListAt = 12;
constexpr std::size_t kDiscretionaryListAt = 16;
constexpr unsigned kSystemListPresent = 0x10;
constexpr unsigned kDiscretionaryListPresent = 0x4;
constexpr unsigned kSelfRelative = 0x8000;

bool IsIdentifier(Bytes bytes) {
  constexpr std::size_t kMostParts = 15;
  if (bytes.size() < 8 || bytes[0] != 1 || bytes[1] > kMostParts) return false;
  return bytes.size() >= 8 + std::size_t{4} * bytes[1];
}

// The kinds of entry with a common layout: type, flags, size, what is allowed (4), an identifier.
bool IsPlainKind(std::uint8_t type) { return type <= 3; }

bool IsAccessControlList(Bytes bytes) {
  constexpr std::size_t kListHead = 8;
  constexpr std::size_t kEntryHead = 4;
  constexpr std::size_t kPlainHead = 8;
  if (bytes.size() < kListHead) return false;
  const std::size_t size = GetU16(&bytes[2]);
  if (bytes[0] < 2 || bytes[0] > 4 || size < kListHead || size > bytes.size()) return false;
  Bytes left = bytes.first(size).subspan(kListHead);
  for (unsigned count = GetU16(&bytes[4]); count > 0; --count) {
    if (left.size() < kEntryHead) return false;
    const std::size_t length = GetU16(&left[2]);
    if (length < kEntryHead || length % 4 != 0 || length > left.size()) return false;
    const bool plain = IsPlainKind(left[0]);
    if (plain && (length < kPlainHead || !IsIdentifier(left.first(length).subspan(kPlainHead)))) {
      return false;
    }
    left = left.subspan(length);
  }
  return true;
}

// The part that a field of the head points to; empty when that is after the end or within the head.
Bytes PartAt(Bytes bytes, std::size_t field) {
  const std::size_t offset = GetU32(&bytes[field]);
  if (offset < kHeadBytes || offset > bytes.size() || offset % 4 != 0) return {};
  return bytes.subspan(offset);
}

}  // namespace

bool IsSecurityDescriptor(Bytes bytes) {
  if (bytes.size() < kHeadBytes || bytes[0] != 1) return false;
  const unsigned control = GetU16(&bytes[2]);
  if ((control & kSelfRelative) == 0) return false;
  for (const std::size_t field : {kOwnerAt, kGroupAt}) {
    if (GetU32(&bytes[field]) != 0 && !IsIdentifier(PartAt(bytes, field))) return false;
  }
  const struct {
    unsigned present;
    std::size_t field;
  } lists[] = {{kSystemListPresent, kSystemListAt},
               {kDiscretionaryListPresent, kDiscretionaryListAt}};
  for (const auto& [present, field] : lists) {
    if ((control & present) == 0 || GetU32(&bytes[field]) == 0) continue;
    if (!IsAccessControlList(PartAt(bytes, field))) return false;
  }
  return true;
}

}  // namespace moldex

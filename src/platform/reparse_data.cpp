#include "platform/reparse_data.h"

#include "base/bytes.h"

namespace moldex {
namespace {

constexpr std::uint32_t kTagSymbolicLink = 0xA000000C;
constexpr std::size_t kNamesAt = 20;

std::optional<std::u16string> NameAt(std::span<const std::uint8_t> data, std::size_t fields_at) {
  const std::size_t offset = GetU16(&data[fields_at]);
  const std::size_t length = GetU16(&data[fields_at + 2]);
  const auto names = data.subspan(kNamesAt);
  if (offset + length > names.size() || length % 2 != 0) return std::nullopt;
  std::u16string name;
  for (std::size_t at = offset; at < offset + length; at += 2)
    name.push_back(static_cast<char16_t>(GetU16(&names[at])));
  return name;
}

}  // namespace

std::optional<std::u16string> SymbolicLinkTarget(std::span<const std::uint8_t> data) {
  constexpr std::size_t kSubstituteFieldsAt = 8;
  constexpr std::size_t kPrintFieldsAt = 12;
  if (data.size() < kNamesAt || GetU32(data.data()) != kTagSymbolicLink) return std::nullopt;
  // The print name is what the link was made with; the substitute name is the system's own form of
  // it, and the only one of a link that was made without.
  auto name = NameAt(data, kPrintFieldsAt);
  if (name && name->empty()) name = NameAt(data, kSubstituteFieldsAt);
  constexpr std::u16string_view kObjectPrefix = u"\\??\\";
  if (name && name->starts_with(kObjectPrefix)) name->erase(0, kObjectPrefix.size());
  return name;
}

}  // namespace moldex

#include "archive/entry_name.h"

#include <algorithm>
#include <array>

#include "codepage/name_conversion.h"
#include "report/except.h"

namespace moldex {
namespace {

constexpr std::size_t kLongestUtf8PerCharacter = 6;

}  // namespace

std::string NameToUtf8(const std::string& name) {
  std::string utf8(kLongestUtf8PerCharacter * name.size() + 1, '\0');
  std::int32_t written = 0;
  ConvertLocalToUtf8(utf8.data(), static_cast<std::int32_t>(utf8.size()), &written, name.c_str());
  utf8.resize(static_cast<std::size_t>(written));
  std::string back(name.size() + 1, '\0');
  const int failed = ConvertUtf8ToLocal(back.data(), static_cast<std::int32_t>(back.size()),
                                        &written, utf8.c_str());
  back.resize(static_cast<std::size_t>(written));
  if (failed != 0 || back != name) throw CConversionExcept(name);
  return utf8;
}

std::string NameFromUtf8(std::span<const std::uint8_t> stored) {
  std::array<char, kLongestName + 1> name{};
  std::copy_n(stored.begin(), std::min(stored.size(), kLongestName), name.begin());
  std::int32_t written = 0;
  if (ConvertUtf8ToLocal(name.data(), static_cast<std::int32_t>(name.size()), &written,
                         name.data()) != 0) {
    throw CConversionExcept("");
  }
  return std::string(name.data(), static_cast<std::size_t>(written));
}

}  // namespace moldex

#include "archive/entry_name.h"

#include "base/path_rules.h"
#include "codepage/name_conversion.h"
#include "platform/file_services.h"
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

std::string TextFromUtf8(std::span<const std::uint8_t> utf8) {
  const std::string text(reinterpret_cast<const char*>(utf8.data()), utf8.size());
  // No code page needs more bytes for a character than UTF-8 and its longest sequences do.
  std::string local(2 * text.size() + 1, '\0');
  std::int32_t written = 0;
  if (ConvertUtf8ToLocal(local.data(), static_cast<std::int32_t>(local.size()), &written,
                         text.c_str()) != 0) {
    throw CConversionExcept("");
  }
  local.resize(static_cast<std::size_t>(written));
  return local;
}

std::string DeliveredName(std::string name, bool lower, bool flat) {
  if (lower) name = LowerAscii(SystemPathRules(), name);
  if (flat) name.erase(0, name.rfind('/') + 1);
  return name;
}

}  // namespace moldex

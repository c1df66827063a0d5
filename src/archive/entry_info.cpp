#include "archive/entry_info.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <ctime>

#include "platform/file_status.h"
#include "report/output.h"
#include "run/run_context.h"

namespace moldex {
namespace {

struct AttributeLetter {
  std::size_t position;  // from 0
  char letter;
  std::uint32_t mode_bit;
};

constexpr AttributeLetter kAttributeLetters[] = {
    {1, 'r', 0x100},   {2, 'w', 0x80},     {3, 'x', 0x40},     {4, 'h', 0x40000},
    {5, 's', 0x80000}, {6, 'a', 0x100000}, {7, 'c', 0x200000},
};

std::array<char, 11> AttributesOf(std::uint32_t mode) {
  std::array<char, 11> text{"----------"};
  if ((mode & kModeKindMask) == kModeDirectory) text[0] = 'd';
  if ((mode & kModeKindMask) == kModeShortcut) text[0] = 'l';
  for (const AttributeLetter& entry : kAttributeLetters) {
    if ((mode & entry.mode_bit) != 0) text[entry.position] = entry.letter;
  }
  return text;
}

// Long enough for every year that a 64-bit time can name.
using DateText = std::array<char, 40>;

// Local time, English month names; empty when the time has no place in the calendar.
DateText DateOf(const EntryHeader& header) {
  DateText text{};
  const auto time = TimeOf(header, CRunContext::GetInstance().long_names());
  if (!time) return text;
  const std::time_t when = time->seconds;
  const std::tm* calendar = std::localtime(&when);
  if (calendar == nullptr ||
      std::strftime(text.data(), text.size(), "%d %b %Y %H:%M", calendar) == 0) {
    text[0] = '\0';
  }
  return text;
}

}  // namespace

void CEntryInfo::Print() {
  std::array<char, 96> columns{};
  std::snprintf(columns.data(), columns.size(), "%s%12" PRIu64 " %20s ",
                AttributesOf(header_.mode).data(), header_.size_bytes(), DateOf(header_).data());
  WriteOutput(columns.data());
  WriteOutput(name_);
  WriteOutput("\n");
}

}  // namespace moldex

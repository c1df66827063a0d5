#include "archive/entry_info.h"

#include <array>
#include <cinttypes>
#include <cstdio>

#include "platform/file_status.h"
#include "platform/local_time.h"
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
using DateText = std::array<char, 64>;

constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Local time, English month names; empty when the time has no place in the calendar. Composed here,
// because there are runtime libraries that know no year past 9999.
DateText DateOf(const EntryHeader& header) {
  DateText text{};
  const bool long_names = CRunContext::GetInstance().long_names();
  const auto time = TimeOf(header, long_names);
  const auto calendar = time ? LocalTime(*time, long_names) : std::nullopt;
  if (!calendar) return text;
  const long year = 1900L + calendar->tm_year;
  std::snprintf(text.data(), text.size(), "%02d %s %02ld %02d:%02d", calendar->tm_mday,
                kMonths[calendar->tm_mon], year, calendar->tm_hour, calendar->tm_min);
  return text;
}

}  // namespace

void CEntryInfo::Print() {
  std::array<char, 128> columns{};
  std::snprintf(columns.data(), columns.size(), "%s%12" PRIu64 " %20s ",
                AttributesOf(header_.mode).data(), header_.size_bytes(), DateOf(header_).data());
  WriteOutput(columns.data());
  WriteShown(name_);
  WriteOutput("\n");
}

}  // namespace moldex

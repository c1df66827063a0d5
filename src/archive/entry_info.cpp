#include "archive/entry_info.h"

#include <charconv>
#include <string>
#include <string_view>

#include "platform/file_status.h"
#include "platform/local_time.h"
#include "report/output.h"

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

// Appends the text, right-aligned: `filling` fills the width before it.
void AppendRight(std::string& line, std::string_view text, std::size_t width, char filling) {
  if (text.size() < width) line.append(width - text.size(), filling);
  line += text;
}

template <typename Number>
void AppendNumber(std::string& line, Number number, std::size_t width, char filling) {
  char digits[24];
  const char* end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
  AppendRight(line, {digits, static_cast<std::size_t>(end - digits)}, width, filling);
}

void AppendAttributes(std::string& line, std::uint32_t mode) {
  char text[] = "----------";
  if ((mode & kModeKindMask) == kModeDirectory) text[0] = 'd';
  if ((mode & kModeKindMask) == kModeShortcut) text[0] = 'l';
  for (const AttributeLetter& entry : kAttributeLetters) {
    if ((mode & entry.mode_bit) != 0) text[entry.position] = entry.letter;
  }
  line += text;
}

constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Appends local time with English month names, or nothing for a time that is in no calendar.
// Composed here because some runtime libraries know no year past 9999, and none is fast.
void AppendDate(std::string& text, const EntryHeader& header) {
  const auto time = TimeOf(header);
  const auto calendar = time ? LocalTime(*time, header.has_file_time) : std::nullopt;
  if (!calendar) return;
  AppendNumber(text, calendar->tm_mday, 2, '0');
  text.append(" ").append(kMonths[calendar->tm_mon]).append(" ");
  AppendNumber(text, 1900L + calendar->tm_year, 2, '0');
  text += ' ';
  AppendNumber(text, calendar->tm_hour, 2, '0');
  text += ':';
  AppendNumber(text, calendar->tm_min, 2, '0');
}

}  // namespace

void CEntryInfo::Print() {
  constexpr std::size_t kDateColumns = 20;
  std::string line;
  line.reserve(64 + name_.size());
  AppendAttributes(line, header_.mode);
  AppendNumber(line, header_.size_bytes(), 12, ' ');
  line += ' ';
  const std::size_t date_at = line.size();
  AppendDate(line, header_);
  const std::size_t date_length = line.size() - date_at;
  if (date_length < kDateColumns) line.insert(date_at, kDateColumns - date_length, ' ');
  line += ' ';
  line += name_;
  WriteEscapedForTerminal(line);
  EndLine();
}

}  // namespace moldex

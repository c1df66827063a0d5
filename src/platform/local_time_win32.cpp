#include "platform/local_time.h"

#include <windows.h>

#include "platform/system_win32.h"

namespace moldex {
namespace {

std::optional<std::tm> CalendarOfFileTime(std::uint64_t value) {
  const FILETIME universal = ToFileTime(value);
  FILETIME local{};
  SYSTEMTIME fields{};
  if (FileTimeToLocalFileTime(&universal, &local) == FALSE ||
      FileTimeToSystemTime(&local, &fields) == FALSE) {
    return std::nullopt;
  }
  std::tm calendar{};
  calendar.tm_year = fields.wYear - 1900;
  calendar.tm_mon = fields.wMonth - 1;
  calendar.tm_mday = fields.wDay;
  calendar.tm_hour = fields.wHour;
  calendar.tm_min = fields.wMinute;
  calendar.tm_sec = fields.wSecond;
  calendar.tm_wday = fields.wDayOfWeek;
  return calendar;
}

}  // namespace

std::optional<std::tm> LocalTime(const TimePoint& time, bool is_file_time) {
  if (is_file_time) return CalendarOfFileTime(FileTimeOf(time));
  const std::time_t seconds = time.seconds;
  const std::tm* calendar = std::localtime(&seconds);
  if (calendar == nullptr) return std::nullopt;
  return *calendar;
}

}  // namespace moldex

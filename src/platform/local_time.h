// Points in time as the user's clock and calendar show them.
#ifndef MOLDEX_PLATFORM_LOCAL_TIME_H_
#define MOLDEX_PLATFORM_LOCAL_TIME_H_

#include <ctime>
#include <optional>

#include "base/file_time.h"

namespace moldex {

// Local time; empty for a time without a place in the system's calendar. A time that comes from a
// Windows file time is converted as Windows does that, with the clock as it is set today.
std::optional<std::tm> LocalTime(const TimePoint& time, bool is_file_time);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_LOCAL_TIME_H_

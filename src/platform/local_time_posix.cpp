#include "platform/local_time.h"

namespace moldex {

// This system has no other clock setting for file times.
std::optional<std::tm> LocalTime(const TimePoint& time, bool /*is_file_time*/) {
  const std::time_t seconds = time.seconds;
  std::tm calendar{};
  if (localtime_r(&seconds, &calendar) == nullptr) return std::nullopt;
  return calendar;
}

}  // namespace moldex

// Windows file times: 100-nanosecond steps since 1601-01-01 00:00 UTC, as entries in long-name mode
// carry them, and the seconds since 1970 of everything else.
#ifndef MOLDEX_BASE_FILE_TIME_H_
#define MOLDEX_BASE_FILE_TIME_H_

#include <cstdint>
#include <optional>

namespace moldex {

inline constexpr std::int64_t kFileTimeStepsPerSecond = 10'000'000;
inline constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
inline constexpr std::int32_t kNanosecondsPerStep = 100;

struct TimePoint {
  std::int64_t seconds = 0;      // since 1970-01-01 00:00 UTC, negative before
  std::int32_t nanoseconds = 0;  // 0 to 999,999,999
};

// The latest file time that is not after `time`; 0 for a time before 1601.
constexpr std::uint64_t FileTimeOf(const TimePoint& time) {
  const std::int64_t seconds = time.seconds + kSecondsFrom1601To1970;
  if (seconds < 0) return 0;
  return static_cast<std::uint64_t>(seconds) * kFileTimeStepsPerSecond +
         static_cast<std::uint64_t>(time.nanoseconds / kNanosecondsPerStep);
}

// Empty for a value with its top bit set, which stands for no time.
constexpr std::optional<TimePoint> TimeOfFileTime(std::uint64_t file_time) {
  if (file_time >> 63 != 0) return std::nullopt;
  const auto steps = static_cast<std::int64_t>(file_time);
  return TimePoint{
      steps / kFileTimeStepsPerSecond - kSecondsFrom1601To1970,
      static_cast<std::int32_t>(steps % kFileTimeStepsPerSecond) * kNanosecondsPerStep};
}

}  // namespace moldex

#endif  // MOLDEX_BASE_FILE_TIME_H_

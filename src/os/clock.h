#pragma once

#include <ctime>
#include <functional>

namespace velmora::os {

struct LocalTime {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// The local date and time. Tests replace the clock so that stamped texts are exact.
LocalTime Now();
void SetClockForTesting(std::function<LocalTime()> clock);  // empty restores the real clock
// The local date and time of a moment of the system clock (a file's time, say); the test clock
// plays no part.
LocalTime LocalTimeAt(std::time_t moment);

}  // namespace velmora::os

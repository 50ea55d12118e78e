#pragma once

#include <functional>

namespace velmora::os {

struct LocalTime {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// The local date and time. Tests replace the clock so that stamped texts are exact.
LocalTime Now();
void SetClockForTesting(std::function<LocalTime()> clock);  // empty restores the real clock

}  // namespace velmora::os

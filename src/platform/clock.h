#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace velmora::platform {

struct LocalTime {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// The local date and time. Tests replace the clock so that stamped texts are exact.
LocalTime Now();
void SetClockForTesting(std::function<LocalTime()> clock);  // empty restores the real clock

// VB's Format for dates, with the es-ES separators "/" and ":" taken literally: yyyy, yy, mm
// (minutes right after h/hh, month otherwise), m, dd, d, hh, h, nn, ss, s; other characters as
// they stand.
std::string FormatDate(const LocalTime& t, std::string_view format);

}  // namespace velmora::platform

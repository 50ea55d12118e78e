#include "os/clock.h"

#include <time.h>

#include <mutex>

namespace velmora::os {

namespace {
std::mutex clockMutex;
std::function<LocalTime()>& TestClock() {
  static std::function<LocalTime()> clock;
  return clock;
}

}  // namespace

LocalTime Now() {
  {
    std::lock_guard lock(clockMutex);
    if (TestClock()) return TestClock()();
  }
  return LocalTimeAt(time(nullptr));
}

LocalTime LocalTimeAt(std::time_t moment) {
  struct tm tm{};
  localtime_r(&moment, &tm);
  return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

void SetClockForTesting(std::function<LocalTime()> clock) {
  std::lock_guard lock(clockMutex);
  TestClock() = std::move(clock);
}

}  // namespace velmora::os

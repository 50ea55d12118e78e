// The date reader over arbitrary text: it must never accept an impossible date, and the
// request's ParseDate must agree with it.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "core/context.h"
#include "vbcompat/dates.h"
#include "velmora/messages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::optional<velmora::os::LocalTime> t = velmora::vb::ReadDate(text);
  if (t) {
    const bool leap = (t->year % 4 == 0 && t->year % 100 != 0) || t->year % 400 == 0;
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (t->month < 1 || t->month > 12 || t->day < 1) std::abort();
    if (t->day > kDays[t->month - 1] + (t->month == 2 && leap ? 1 : 0)) std::abort();
    if (t->year < 100 || t->year > 9999) std::abort();
    if (t->hour < 0 || t->hour > 23 || t->minute < 0 || t->minute > 59 || t->second < 0 || t->second > 59)
      std::abort();
  }
  // Never destroyed: its destructor traces, and the thread's log objects go first at exit.
  static auto* request = new velmora::CPeticionDispensacion;
  const std::string parsed = request->ParseDate(text);
  const std::string expected = t && !text.empty() ? velmora::vb::FormatYyyymmdd(*t) : std::string();
  if (parsed != expected) std::abort();
  velmora::core::ThreadContext().Errors.Errores().Clear();
  return 0;
}

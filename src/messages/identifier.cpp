#include "messages/identifier.h"

#include <ctime>

#include "platform/clock.h"
#include "platform/text.h"

namespace velmora::messages {

namespace {

void TwoDigits(std::string& out, int value) {
  value %= 100;
  out += static_cast<char>('0' + value / 10);
  out += static_cast<char>('0' + value % 10);
}

// The calendar arithmetic of timegm, with no time zone in the way: only the fields move on.
platform::LocalTime SecondsLater(const platform::LocalTime& t, int seconds) {
  if (seconds == 0) return t;
  std::tm tm{};
  tm.tm_year = t.year - 1900;
  tm.tm_mon = t.month - 1;
  tm.tm_mday = t.day;
  tm.tm_hour = t.hour;
  tm.tm_min = t.minute;
  tm.tm_sec = t.second + seconds;
  const std::time_t moved = timegm(&tm);
  gmtime_r(&moved, &tm);
  return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

}  // namespace

std::string MakePrescriptionIdentifier(const CPeticionDispensacion& request, int laterSeconds) {
  const platform::LocalTime now = SecondsLater(platform::Now(), laterSeconds);
  std::string id = "ITP";
  id += request.IdFarmacia;
  id += request.IdProvincia;
  id += request.IdFarmacia;
  id += request.IdUsuario;
  id += request.Tis;
  TwoDigits(id, now.year);
  TwoDigits(id, now.month);
  TwoDigits(id, now.day);
  TwoDigits(id, now.hour);
  TwoDigits(id, now.minute);
  TwoDigits(id, now.second);
  return id;
}

bool IsUsableIdentifier(std::string_view id) {
  // 255 bytes make a file name; the batch's "MD__" and the ".xml" come on top.
  constexpr size_t kMaxBytes = 255 - 4 - 4;
  if (id.empty() || id.size() > kMaxBytes || id == "." || id == ".." || !platform::IsValidUtf8(id)) return false;
  for (unsigned char c : id)
    if (c < 0x20 || c == 0x7F || c == '/' || c == '[' || c == ']') return false;
  return true;
}

}  // namespace velmora::messages

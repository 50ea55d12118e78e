#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/test_support.h"
#include "vbcompat/dates.h"

namespace velmora::testing {
namespace {

std::string Read(const char* text) {
  std::optional<os::LocalTime> t = vb::ReadDate(text);
  if (!t) return "no";
  char buf[32];
  snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", t->year, t->month, t->day, t->hour, t->minute, t->second);
  return buf;
}

TEST(Dates, SpanishOrderTable) {
  FixedClock clock({2024, 6, 1, 12, 0, 0});
  const std::pair<const char*, const char*> cases[] = {
      {"03/02/2024", "2024-02-03 00:00:00"}, {"3/2/24", "2024-02-03 00:00:00"},
      {"03-02-2024", "2024-02-03 00:00:00"}, {"2024-02-03", "2024-02-03 00:00:00"},
      {"2024-2-3 14:30:15", "2024-02-03 14:30:15"}, {"03/02/2024 9:05", "2024-02-03 09:05:00"},
      {" 03/02/2024 ", "2024-02-03 00:00:00"}, {"12/25/2024", "2024-12-25 00:00:00"}, {"31/02/2024", "no"},
      {"29/02/2024", "2024-02-29 00:00:00"}, {"29/02/2023", "no"}, {"03.02.2024", "no"}, {"20240203", "no"},
      {"2024", "no"}, {"2.5", "1899-12-30 02:05:00"}, {"14:30", "1899-12-30 14:30:00"},
      {"3 pm", "1899-12-30 15:00:00"}, {"25:00", "no"}, {"3 febrero 2024", "2024-02-03 00:00:00"},
      {"3 FEBRERO 2024", "2024-02-03 00:00:00"}, {"3-feb-2024", "2024-02-03 00:00:00"},
      {"lunes, 5 febrero 2024", "2024-02-05 00:00:00"}, {"3 de febrero de 2024", "no"},
      {"2013-05-14 02:04:12.017", "no"}, {"1/2/29", "2029-02-01 00:00:00"}, {"1/2/30", "1930-02-01 00:00:00"},
      {"1/2/99", "1999-02-01 00:00:00"}, {"3/2", "2024-02-03 00:00:00"}, {"", "no"}, {"abc", "no"},
      {"03/02/2024x", "no"}, {"-03/02/2024", "no"}, {"03/02/2024/1", "no"}, {"03//02/2024", "no"},
      {"99999999999/1/1", "no"}, {"1/1/10000", "no"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Read(text), expected) << text;
}

}  // namespace
}  // namespace velmora::testing

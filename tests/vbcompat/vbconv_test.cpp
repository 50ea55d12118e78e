#include "vbcompat/vbconv.h"

#include <gtest/gtest.h>

#include "os/clock.h"
#include "support/test_support.h"
#include "vbcompat/dates.h"
#include "velmora/error.h"

namespace velmora::vb {
namespace {

TEST(VbConversion, Int16FollowsRoundingAndSyntax) {
  const std::pair<const char*, int> ok[] = {
      {"2,5", 2},     {"3,5", 4},     {"2.5", 2},    {"-1.5", -2},  {"0.5", 0},     {"0,6", 1},
      {" 12 ", 12},   {"1e3", 1000},  {"1E+3", 1000}, {"&H10", 16}, {"&h10", 16},   {"&O17", 15},
      {"&HFFFF", -1}, {"&H8002", -32766}, {"32767", 32767}, {"-32768", -32768}, {"0100", 100},
      {"+5", 5},      {"12,4999", 12}, {"1e-1", 0},  {"25e-1", 2},
  };
  for (const auto& [text, expected] : ok) EXPECT_EQ(ToInt16(text, "t"), expected) << text;

  const std::pair<const char*, int> bad[] = {
      {"", 13}, {"   ", 13}, {"abc", 13}, {"12abc", 13}, {"0x10", 13}, {"1e", 13}, {"1d2", 13},
      {"32768", 6}, {"32767,5", 6}, {"-32769", 6}, {"&H10000", 6}, {"99999999999999999999999", 6},
  };
  for (const auto& [text, number] : bad)
    EXPECT_EQ(testing::ErrorNumber([&] { ToInt16(text, "CConfig.LoadIni"); }), number) << text;
}

TEST(VbConversion, Int32RangeAndHexPattern) {
  EXPECT_EQ(ToInt32("2147483647", "t"), 2147483647);
  EXPECT_EQ(ToInt32("&HFFFFFFFF", "t"), -1);
  EXPECT_EQ(testing::ErrorNumber([] { ToInt32("2147483648", "t"); }), 6);
  for (const auto& [text, numeric] : {std::pair{" 5 ", true}, {"1,5", true}, {"-", false}, {"", false}})
    EXPECT_EQ(IsNumeric(text), numeric) << text;
}

TEST(VbConversion, ValReadsTheLeadingNumber) {
  const std::pair<const char*, double> cases[] = {
      {"12abc", 12}, {" 1 2 3", 123}, {"1e3", 1000}, {"1d2", 100}, {"1.5e", 1.5}, {"1e", 1},
      {"", 0},       {"-", 0},        {"abc", 0},    {".5", 0.5},  {"-.5", -0.5}, {"1,5", 1},
      {"&H1F", 31},  {"&HFFFF", -1},  {"&H10000", 65536}, {"&O17", 15},
  };
  for (const auto& [text, expected] : cases) EXPECT_DOUBLE_EQ(Val(text, "t"), expected) << text;
  EXPECT_EQ(testing::ErrorNumber([] { Val("1e400", "t"); }), 6);
  EXPECT_EQ(RoundToInt32(2.5, "t"), 2);
  EXPECT_EQ(RoundToInt32(3.5, "t"), 4);
  EXPECT_EQ(testing::ErrorNumber([] { RoundToInt32(3e9, "t"); }), 6);
}

TEST(VbFormat, DatePatternsWithMinutesAfterHours) {
  const LocalTime t{2024, 2, 3, 9, 5, 7};
  EXPECT_EQ(FormatDate(t, "yymmddhhmmss"), "240203090507");
  EXPECT_EQ(FormatDate(t, "yyyy/mm/dd hh:mm:ss "), "2024/02/03 09:05:07 ");
  EXPECT_EQ(FormatDate(t, "dd/mm/yyyy h:mm:ss"), "03/02/2024 9:05:07");
  EXPECT_EQ(FormatDate(t, "yy/mm/dd hh:mm:ss"), "24/02/03 09:05:07");
  EXPECT_EQ(FormatDate({2024, 12, 31, 14, 30, 0}, "yyyymmdd hh"), "20241231 14");
}

}  // namespace
}  // namespace velmora::vb

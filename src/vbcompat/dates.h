#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "os/clock.h"

namespace velmora::vb {

using os::LocalTime;

// The one reader of date texts, in Spanish (day-first) order, as the old runtime's IsDate/CDate
// read them on an es-ES machine:
//  - numbers, Spanish month names (full, or their first three letters, "sept" too; any case),
//    weekday names (ignored), AM/PM designators ("am", "pm", "a", "p");
//  - "/" and "-" separate date parts (two at most), ":" and "." separate time parts, blanks and
//    "," only separate tokens; any other character makes the text no date;
//  - three numbers are read day/month/year; if that is no valid date, month/day/year, then
//    year/month/day (a first number of three or more digits is read year first straight away);
//  - two numbers are day and month of the current year; a month name takes the month's place;
//  - one number alone is no date, unless an AM/PM designator makes it an hour;
//  - two-digit years: 00-29 are 2000-2029, 30-99 are 1930-1999;
//  - an optional time h:m or h:m:s (no fractions); a time alone gives 30/12/1899 at that time.
// Impossible dates (31/02/2024) are rejected, as is "." between date parts ("03.02.2024" reads
// as a time and fails).
std::optional<os::LocalTime> ReadDate(std::string_view text);

// "yyyymmdd" of the date part.
std::string FormatYyyymmdd(const LocalTime& t);

// VB's Format for dates, with the es-ES separators "/" and ":" taken literally: yyyy, yy, mm
// (minutes right after h/hh, month otherwise), m, dd, d, hh, h, nn, ss, s; other characters as
// they stand.
std::string FormatDate(const LocalTime& t, std::string_view format);

}  // namespace velmora::vb

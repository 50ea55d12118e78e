#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::vb {

// VB's locale-aware integer conversions (CInt, CLng) with the port's choices: the whole text
// (blanks around it allowed), optional sign, digits, an optional decimal part after "," or ".",
// an optional exponent e/E, or &H/&O forms; halves round to even on the exact digits. Empty or
// non-numeric text raises 13, a value out of range raises 6, both with `source`.
int16_t ToInt16(std::string_view text, const std::string& source);
int32_t ToInt32(std::string_view text, const std::string& source);

// IsNumeric: the same syntax accepted, whatever the range.
bool IsNumeric(std::string_view text);

// Val: the leading number of the text, blanks anywhere skipped, "." the only decimal point,
// e/E/d/D exponents; junk ends the number and gives 0 when nothing was read. Raises 6 on
// overflow of a double.
double Val(std::string_view text, const std::string& source);

// Rounds half to even into 32 bits; raises 6 out of range.
int32_t RoundToInt32(double value, const std::string& source);

}  // namespace velmora::vb

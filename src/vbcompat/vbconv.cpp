#include "vbcompat/vbconv.h"

#include <cmath>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "velmora/error.h"

namespace velmora::vb {

namespace {

// A number as its exact decimal digits: value = (negative ? -1 : 1) * digits * 10^exponent.
struct Decimal {
  bool negative = false;
  std::string digits;   // no leading zeros; empty means zero
  int64_t exponent = 0;
};

struct Parsed {
  bool isRadix = false;  // &H / &O form
  uint64_t radixValue = 0;
  int radixDigits = 0;
  Decimal decimal;
};

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::optional<Parsed> ParseNumber(std::string_view s) {
  size_t b = 0, e = s.size();
  while (b < e && IsBlank(s[b])) ++b;
  while (e > b && IsBlank(s[e - 1])) --e;
  s = s.substr(b, e - b);
  if (s.empty()) return std::nullopt;

  Parsed p;
  if (s.size() >= 3 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h' || s[1] == 'O' || s[1] == 'o')) {
    const int base = (s[1] == 'H' || s[1] == 'h') ? 16 : 8;
    p.isRadix = true;
    for (size_t i = 2; i < s.size(); ++i) {
      const char c = s[i];
      int d;
      if (c >= '0' && c <= '9') d = c - '0';
      else if (base == 16 && c >= 'a' && c <= 'f') d = c - 'a' + 10;
      else if (base == 16 && c >= 'A' && c <= 'F') d = c - 'A' + 10;
      else return std::nullopt;
      if (d >= base) return std::nullopt;
      if (p.radixValue > (std::numeric_limits<uint64_t>::max() >> 4)) return std::nullopt;
      p.radixValue = p.radixValue * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
      ++p.radixDigits;
    }
    if (base == 8) p.radixDigits = 0;  // octal keeps no bit pattern rule
    return p;
  }

  size_t i = 0;
  if (s[i] == '+' || s[i] == '-') p.decimal.negative = s[i++] == '-';
  std::string digits;
  int64_t exponent = 0;
  bool any = false;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') { digits += s[i++]; any = true; }
  if (i < s.size() && (s[i] == ',' || s[i] == '.')) {
    ++i;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') { digits += s[i++]; --exponent; any = true; }
  }
  if (!any) return std::nullopt;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    bool negExp = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) negExp = s[i++] == '-';
    if (i >= s.size() || s[i] < '0' || s[i] > '9') return std::nullopt;
    int64_t ev = 0;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
      if (ev < 100000) ev = ev * 10 + (s[i] - '0');
      ++i;
    }
    exponent += negExp ? -ev : ev;
  }
  if (i != s.size()) return std::nullopt;
  size_t lead = 0;
  while (lead < digits.size() && digits[lead] == '0') ++lead;
  digits.erase(0, lead);
  p.decimal.digits = std::move(digits);
  p.decimal.exponent = exponent;
  return p;
}

// Rounds half to even on the exact digits; nullopt when the magnitude is past `limit`.
std::optional<int64_t> RoundDecimal(const Decimal& d, uint64_t limit) {
  if (d.digits.empty()) return 0;
  const auto len = static_cast<int64_t>(d.digits.size());
  const int64_t intLen = len + d.exponent;  // digits before the decimal point
  if (intLen > 19) return std::nullopt;
  uint64_t integer = 0;
  for (int64_t k = 0; k < intLen; ++k) {
    const int digit = k < len ? d.digits[static_cast<size_t>(k)] - '0' : 0;
    integer = integer * 10 + static_cast<uint64_t>(digit);
  }
  // The first dropped digit and whether anything after it is non-zero.
  int first = 0;
  bool rest = false;
  for (int64_t k = std::max<int64_t>(intLen, 0); k < len; ++k) {
    const int digit = d.digits[static_cast<size_t>(k)] - '0';
    if (k == intLen) first = digit;
    else if (digit) rest = true;
  }
  if (intLen < 0) {  // all digits are below the first fractional place
    first = 0;
    rest = true;
  }
  if (first > 5 || (first == 5 && (rest || (integer & 1)))) ++integer;
  if (integer > limit) return std::nullopt;
  return d.negative ? -static_cast<int64_t>(integer) : static_cast<int64_t>(integer);
}

[[noreturn]] void RaiseNumber(int32_t number, const std::string& source) {
  throw Error(number, source, ErrorText(number));
}

int64_t Convert(std::string_view text, const std::string& source, int bits) {
  const auto parsed = ParseNumber(text);
  if (!parsed) RaiseNumber(errnum::kTypeMismatch, source);
  const int64_t min = bits == 16 ? std::numeric_limits<int16_t>::min() : std::numeric_limits<int32_t>::min();
  const int64_t max = bits == 16 ? std::numeric_limits<int16_t>::max() : std::numeric_limits<int32_t>::max();
  if (parsed->isRadix) {
    // Up to the type's width in hex digits the bit pattern is kept (&HFFFF is -1 as Integer).
    const uint64_t v = parsed->radixValue;
    const uint64_t span = uint64_t{1} << bits;
    if (v < span) return v > static_cast<uint64_t>(max) ? static_cast<int64_t>(v) - static_cast<int64_t>(span)
                                                        : static_cast<int64_t>(v);
    RaiseNumber(errnum::kOverflow, source);
  }
  const auto value = RoundDecimal(parsed->decimal, static_cast<uint64_t>(max) + 1);
  if (!value || *value < min || *value > max) RaiseNumber(errnum::kOverflow, source);
  return *value;
}

}  // namespace

int16_t ToInt16(std::string_view text, const std::string& source) {
  return static_cast<int16_t>(Convert(text, source, 16));
}

int32_t ToInt32(std::string_view text, const std::string& source) {
  return static_cast<int32_t>(Convert(text, source, 32));
}

bool IsNumeric(std::string_view text) { return ParseNumber(text).has_value(); }

double Val(std::string_view text, const std::string& source) {
  std::string s;
  for (char c : text)
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') s += c;
  if (s.size() >= 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h' || s[1] == 'O' || s[1] == 'o')) {
    const int base = (s[1] == 'H' || s[1] == 'h') ? 16 : 8;
    uint64_t v = 0;
    size_t n = 0;
    for (size_t i = 2; i < s.size() && n < 16; ++i, ++n) {
      const char c = s[i];
      int d;
      if (c >= '0' && c <= '9') d = c - '0';
      else if (base == 16 && (c | 0x20) >= 'a' && (c | 0x20) <= 'f') d = (c | 0x20) - 'a' + 10;
      else break;
      if (d >= base) break;
      v = v * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
    }
    // Up to four hex digits read as a 16-bit pattern, up to eight as a 32-bit one.
    if (base == 16 && n <= 4 && v > 0x7FFF) return static_cast<double>(static_cast<int64_t>(v) - 0x10000);
    if (base == 16 && n <= 8 && v > 0x7FFFFFFF) return static_cast<double>(static_cast<int64_t>(v) - 0x100000000LL);
    return static_cast<double>(v);
  }
  size_t i = 0;
  std::string number;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) number += s[i++];
  bool any = false;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') { number += s[i++]; any = true; }
  if (i < s.size() && s[i] == '.') {
    number += s[i++];
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') { number += s[i++]; any = true; }
  }
  if (!any) return 0;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
    std::string exp = "e";
    size_t j = i + 1;
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exp += s[j++];
    bool expDigits = false;
    while (j < s.size() && s[j] >= '0' && s[j] <= '9') { exp += s[j++]; expDigits = true; }
    if (expDigits) number += exp;
  }
  // from_chars, not strtod: a host that set a Spanish locale must not turn "." into junk.
  const bool negative = number[0] == '-';
  const size_t skip = (number[0] == '-' || number[0] == '+') ? 1 : 0;
  double value = 0;
  const auto [ptr, ec] = std::from_chars(number.data() + skip, number.data() + number.size(), value);
  (void)ptr;
  if (ec == std::errc::result_out_of_range) {
    // Tiny magnitudes underflow to zero; huge ones overflow.
    const auto e = number.find('e');
    if (e == std::string::npos || number[e + 1] != '-') RaiseNumber(errnum::kOverflow, source);
    value = 0;
  }
  if (std::isinf(value)) RaiseNumber(errnum::kOverflow, source);
  return negative ? -value : value;
}

int32_t RoundToInt32(double value, const std::string& source) {
  const double r = std::nearbyint(value);
  if (!(r >= -2147483648.0 && r <= 2147483647.0)) RaiseNumber(errnum::kOverflow, source);
  return static_cast<int32_t>(r);
}

}  // namespace velmora::vb

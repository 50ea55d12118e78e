#include "vbcompat/dates.h"

#include <array>
#include <cstdint>
#include <vector>

namespace velmora::vb {

namespace {

enum class Kind { Number, Month, AmPm, DateSep, TimeSep };

struct Token {
  Kind kind;
  int value = 0;   // number, month 1-12, or 1 for PM / 0 for AM
  int digits = 0;  // digits of a number
};

struct MonthName {
  const char* name;
  int month;
};

// Full names and the abbreviations a user types; "setiembre" is the other accepted spelling.
constexpr std::array<MonthName, 26> kMonths{{
    {"enero", 1},      {"febrero", 2},   {"marzo", 3},    {"abril", 4},      {"mayo", 5},
    {"junio", 6},      {"julio", 7},     {"agosto", 8},   {"septiembre", 9}, {"setiembre", 9},
    {"octubre", 10},   {"noviembre", 11}, {"diciembre", 12}, {"ene", 1},      {"feb", 2},
    {"mar", 3},        {"abr", 4},       {"may", 5},      {"jun", 6},        {"jul", 7},
    {"ago", 8},        {"sep", 9},       {"sept", 9},     {"oct", 10},       {"nov", 11},
    {"dic", 12},
}};

constexpr std::array<const char*, 9> kWeekdays{
    "lunes", "martes", "miercoles", "mi\xc3\xa9rcoles", "jueves", "viernes", "sabado", "s\xc3\xa1" "bado",
    "domingo"};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsWordByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
}

std::string Lower(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  // Upper-case accented vowels of the weekday names (É, Á) to lower case.
  for (size_t i = 0; i + 1 < out.size(); ++i)
    if (static_cast<unsigned char>(out[i]) == 0xc3) {
      unsigned char n = static_cast<unsigned char>(out[i + 1]);
      if (n == 0x89 || n == 0x81) out[i + 1] = static_cast<char>(n + 0x20);
    }
  return out;
}

// Word → token; false for a word that is no date word. Weekdays give no token at all.
bool WordToken(std::string_view word, std::vector<Token>& tokens) {
  std::string w = Lower(word);
  for (const auto& m : kMonths)
    if (w == m.name) {
      tokens.push_back({Kind::Month, m.month});
      return true;
    }
  for (const char* d : kWeekdays)
    if (w == d) return true;
  if (w == "am" || w == "a") {
    tokens.push_back({Kind::AmPm, 0});
    return true;
  }
  if (w == "pm" || w == "p") {
    tokens.push_back({Kind::AmPm, 1});
    return true;
  }
  return false;
}

bool Tokenize(std::string_view s, std::vector<Token>& tokens) {
  size_t i = 0;
  while (i < s.size()) {
    char c = s[i];
    if (c == ' ' || c == ',' || c == '\t') {
      ++i;
    } else if (IsDigit(c)) {
      int value = 0, digits = 0;
      while (i < s.size() && IsDigit(s[i])) {
        if (value > 99999) return false;  // no part of a date is that long
        value = value * 10 + (s[i] - '0');
        ++digits;
        ++i;
      }
      tokens.push_back({Kind::Number, value, digits});
    } else if (c == '/' || c == '-') {
      tokens.push_back({Kind::DateSep});
      ++i;
    } else if (c == ':' || c == '.') {
      tokens.push_back({Kind::TimeSep});
      ++i;
    } else if (IsWordByte(c)) {
      size_t start = i;
      while (i < s.size() && IsWordByte(s[i])) ++i;
      if (!WordToken(s.substr(start, i - start), tokens)) return false;
    } else {
      return false;
    }
  }
  return true;
}

bool IsLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysIn(int y, int m) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

struct Number {
  int value;
  int digits;
};

int Year(const Number& n) {
  if (n.digits <= 2) return n.value < 30 ? 2000 + n.value : 1900 + n.value;
  return n.value;
}

bool Valid(int y, int m, int d) {
  return y >= 100 && y <= 9999 && m >= 1 && m <= 12 && d >= 1 && d <= DaysIn(y, m);
}

bool Set(os::LocalTime& t, int y, int m, int d) {
  if (!Valid(y, m, d)) return false;
  t.year = y;
  t.month = m;
  t.day = d;
  return true;
}

bool ResolveDate(const std::vector<Number>& nums, int month, LocalTime& t) {
  const int currentYear = os::Now().year;
  if (month > 0) {
    if (nums.size() == 2)
      return Set(t, Year(nums[1]), month, nums[0].value) || Set(t, Year(nums[0]), month, nums[1].value);
    if (nums.size() == 1)
      return Set(t, currentYear, month, nums[0].value) || Set(t, Year(nums[0]), month, 1);
    return false;
  }
  if (nums.size() == 3) {
    const Number &a = nums[0], &b = nums[1], &c = nums[2];
    if (a.digits >= 3) return Set(t, Year(a), b.value, c.value);
    return Set(t, Year(c), b.value, a.value) || Set(t, Year(c), a.value, b.value) ||
           Set(t, Year(a), b.value, c.value);
  }
  if (nums.size() == 2)
    return Set(t, currentYear, nums[1].value, nums[0].value) || Set(t, currentYear, nums[0].value, nums[1].value);
  return false;
}

}  // namespace

std::optional<os::LocalTime> ReadDate(std::string_view text) {
  std::vector<Token> tokens;
  if (!Tokenize(text, tokens) || tokens.empty()) return std::nullopt;

  std::vector<Number> dateNumbers;
  std::vector<int> timeNumbers;
  bool haveTime = false;
  int ampm = -1;
  int month = 0;
  int dateSeps = 0;

  for (size_t i = 0; i < tokens.size(); ++i) {
    const Token& tk = tokens[i];
    switch (tk.kind) {
      case Kind::Number: {
        bool startsTime = i + 1 < tokens.size() &&
                          (tokens[i + 1].kind == Kind::TimeSep || tokens[i + 1].kind == Kind::AmPm);
        if (!startsTime) {
          dateNumbers.push_back({tk.value, tk.digits});
          break;
        }
        if (haveTime) return std::nullopt;
        haveTime = true;
        timeNumbers.push_back(tk.value);
        while (i + 1 < tokens.size() && tokens[i + 1].kind == Kind::TimeSep) {
          if (i + 2 >= tokens.size() || tokens[i + 2].kind != Kind::Number) return std::nullopt;
          timeNumbers.push_back(tokens[i + 2].value);
          i += 2;
        }
        if (timeNumbers.size() > 3) return std::nullopt;
        break;
      }
      case Kind::Month:
        if (month) return std::nullopt;
        month = tk.value;
        break;
      case Kind::AmPm:
        if (ampm >= 0 || !haveTime) return std::nullopt;
        ampm = tk.value;
        break;
      case Kind::DateSep: {
        // Between two date parts only.
        if (++dateSeps > 2 || i == 0 || i + 1 >= tokens.size()) return std::nullopt;
        Kind before = tokens[i - 1].kind, after = tokens[i + 1].kind;
        if ((before != Kind::Number && before != Kind::Month) || (after != Kind::Number && after != Kind::Month))
          return std::nullopt;
        break;
      }
      case Kind::TimeSep:
        return std::nullopt;  // a time separator outside a run of numbers
    }
  }

  os::LocalTime t;  // 30/12/1899 00:00:00 unless a date is given
  if (!dateNumbers.empty() || month) {
    if (!ResolveDate(dateNumbers, month, t)) return std::nullopt;
  } else if (!haveTime) {
    return std::nullopt;
  }
  if (haveTime) {
    int h = timeNumbers[0];
    int m = timeNumbers.size() > 1 ? timeNumbers[1] : 0;
    int s = timeNumbers.size() > 2 ? timeNumbers[2] : 0;
    if (ampm >= 0) {
      if (h > 12) return std::nullopt;
      if (h == 12) h = 0;
      if (ampm == 1) h += 12;
    }
    if (h > 23 || m > 59 || s > 59) return std::nullopt;
    t.hour = h;
    t.minute = m;
    t.second = s;
  }
  return t;
}

std::string FormatYyyymmdd(const LocalTime& t) {
  std::string out(8, '0');
  int y = t.year;
  for (int i = 3; i >= 0; --i, y /= 10) out[static_cast<size_t>(i)] = static_cast<char>('0' + y % 10);
  out[4] = static_cast<char>('0' + t.month / 10);
  out[5] = static_cast<char>('0' + t.month % 10);
  out[6] = static_cast<char>('0' + t.day / 10);
  out[7] = static_cast<char>('0' + t.day % 10);
  return out;
}

}  // namespace velmora::vb

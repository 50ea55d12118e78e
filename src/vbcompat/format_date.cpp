#include <charconv>

#include "vbcompat/dates.h"

namespace velmora::vb {

namespace {
void AppendNumber(std::string& out, int value, int width) {
  char buf[16];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value);
  (void)ec;
  for (auto len = static_cast<int>(ptr - buf); len < width; ++len) out += '0';
  out.append(buf, ptr);
}
}  // namespace

std::string FormatDate(const LocalTime& t, std::string_view f) {
  std::string out;
  bool afterHour = false;  // "m" right after "h" (separators between allowed) means minutes
  size_t i = 0;
  auto run = [&](char c) {
    size_t n = 0;
    while (i + n < f.size() && (f[i + n] == c || f[i + n] == c - 'a' + 'A')) ++n;
    return n;
  };
  while (i < f.size()) {
    const char c = static_cast<char>(f[i] | 0x20);
    if (c == 'y') {
      const size_t n = run('y');
      if (n >= 4) AppendNumber(out, t.year, 4);
      else AppendNumber(out, t.year % 100, 2);
      i += n;
      afterHour = false;
    } else if (c == 'm') {
      const size_t n = run('m');
      AppendNumber(out, afterHour ? t.minute : t.month, n >= 2 ? 2 : 1);
      i += n;
      afterHour = false;
    } else if (c == 'n') {
      const size_t n = run('n');
      AppendNumber(out, t.minute, n >= 2 ? 2 : 1);
      i += n;
      afterHour = false;
    } else if (c == 'd') {
      const size_t n = run('d');
      AppendNumber(out, t.day, n >= 2 ? 2 : 1);
      i += n;
      afterHour = false;
    } else if (c == 'h') {
      const size_t n = run('h');
      AppendNumber(out, t.hour, n >= 2 ? 2 : 1);
      i += n;
      afterHour = true;
    } else if (c == 's') {
      const size_t n = run('s');
      AppendNumber(out, t.second, n >= 2 ? 2 : 1);
      i += n;
      afterHour = false;
    } else {
      out += f[i++];
    }
  }
  return out;
}

}  // namespace velmora::vb

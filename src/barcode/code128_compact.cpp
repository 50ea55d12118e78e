#include "barcode/modules.h"

#include <vector>

#include "barcode/code128_patterns.h"

namespace velmora::barcode {
namespace {

constexpr int kCodeC = 99;   // switch to code set C (in set B)
constexpr int kCodeB = 100;  // switch to code set B (in set C)
constexpr int kStartB = 104;
constexpr int kStartC = 105;
constexpr int kStop = 106;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

size_t DigitsAt(std::string_view text, size_t at) {
  size_t n = 0;
  while (at + n < text.size() && IsDigit(text[at + n])) ++n;
  return n;
}

}  // namespace

std::string CompactCode128Pattern(std::string_view text) {
  for (const char c : text)
    if (c < ' ' || c > '~') return {};
  std::vector<int> values;
  const size_t leading = DigitsAt(text, 0);
  bool setC = leading >= 4 || (leading == text.size() && leading >= 2 && leading % 2 == 0);
  values.push_back(setC ? kStartC : kStartB);
  for (size_t i = 0; i < text.size();) {
    if (setC) {
      if (DigitsAt(text, i) >= 2) {
        values.push_back((text[i] - '0') * 10 + (text[i + 1] - '0'));
        i += 2;
      } else {
        values.push_back(kCodeB);
        setC = false;
      }
      continue;
    }
    const size_t run = DigitsAt(text, i);
    if (run >= 4) {
      // An odd run leaves its first digit in code set B, so set C starts on a pair.
      if (run % 2 != 0) values.push_back(text[i++] - ' ');
      values.push_back(kCodeC);
      setC = true;
      continue;
    }
    values.push_back(text[i++] - ' ');
  }
  int sum = values[0];
  for (size_t k = 1; k < values.size(); ++k) sum = (sum + values[k] * static_cast<int>(k)) % 103;
  values.push_back(sum);
  values.push_back(kStop);
  std::string pattern;
  for (const int v : values) pattern += kCode128Patterns[static_cast<size_t>(v)];
  return pattern;
}

}  // namespace velmora::barcode

#include "barcode/cp1252_codes.h"

#include <cstdint>

#include "platform/fonts/cp1252.h"

namespace velmora::barcode {
namespace {

int CodeOf(uint32_t codePoint) {
  if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) return static_cast<int>(codePoint);
  for (int i = 0; i < 32; ++i)
    if (platform::kCp1252High[static_cast<size_t>(i)] == codePoint) return 0x80 + i;
  return '?';
}

// Length of the UTF-8 sequence starting at `i` and its code point; 0 when ill-formed.
size_t DecodeOne(std::string_view s, size_t i, uint32_t& cp) {
  const auto b = static_cast<unsigned char>(s[i]);
  size_t n = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
  if (n == 0 || i + n > s.size()) return 0;
  cp = n == 1 ? b : n == 2 ? (b & 0x1Fu) : n == 3 ? (b & 0x0Fu) : (b & 0x07u);
  for (size_t k = 1; k < n; ++k) {
    const auto c = static_cast<unsigned char>(s[i + k]);
    if ((c >> 6) != 2) return 0;
    cp = (cp << 6) | (c & 0x3Fu);
  }
  static constexpr uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
  if (cp < kMin[n] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  return n;
}

}  // namespace

std::vector<int> Cp1252Codes(std::string_view text) {
  std::vector<int> codes;
  codes.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    uint32_t cp = 0;
    const size_t n = DecodeOne(text, i, cp);
    if (n == 0) {
      codes.push_back(static_cast<unsigned char>(text[i]));
      ++i;
    } else {
      codes.push_back(CodeOf(cp));
      i += n;
    }
  }
  return codes;
}

std::string Cp1252Char(int code) {
  const uint32_t cp = platform::Cp1252CodePoint(static_cast<uint8_t>(code & 0xFF));
  std::string out;
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
  return out;
}

}  // namespace velmora::barcode

#include "vbcompat/cp1252.h"

namespace velmora::vb {

size_t DecodeUtf8(std::string_view s, size_t i, uint32_t& codePoint) {
  const auto b0 = static_cast<uint8_t>(s[i]);
  size_t len;
  uint32_t value;
  if (b0 < 0x80) {
    codePoint = b0;
    return 1;
  }
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    len = 2;
    value = b0 & 0x1Fu;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    len = 3;
    value = b0 & 0x0Fu;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    len = 4;
    value = b0 & 0x07u;
  } else {
    return 0;
  }
  if (i + len > s.size()) return 0;
  for (size_t k = 1; k < len; ++k) {
    const auto b = static_cast<uint8_t>(s[i + k]);
    if ((b & 0xC0) != 0x80) return 0;
    value = (value << 6) | (b & 0x3Fu);
  }
  if ((len == 3 && value < 0x800) || (len == 4 && (value < 0x10000 || value > 0x10FFFF)) ||
      (value >= 0xD800 && value <= 0xDFFF))
    return 0;
  codePoint = value;
  return len;
}

std::string Utf8ToCp1252(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    uint32_t cp = 0;
    const size_t len = DecodeUtf8(text, i, cp);
    if (len == 0) {
      out.push_back(text[i++]);
      continue;
    }
    const int byte = Cp1252ByteOf(cp);
    out.push_back(byte < 0 ? '?' : static_cast<char>(byte));
    i += len;
  }
  return out;
}

void AppendCp1252AsUtf8(std::string& out, uint8_t byte) {
  const uint32_t cp = Cp1252CodePoint(byte);
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
}

}  // namespace velmora::vb

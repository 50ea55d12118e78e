#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora::vb {

// Windows-1252, the code page of the files and fonts the library shares with Windows: the one
// table and the one UTF-8 reader every converter of the library uses.

// Unicode code point of each Windows-1252 byte 0x80..0x9F. The five bytes the code page leaves
// undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to themselves, as Windows' own conversion does.
inline constexpr std::array<uint16_t, 32> kCp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr uint32_t Cp1252CodePoint(uint8_t byte) {
  return byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80] : byte;
}

// The Windows-1252 byte of a code point, or -1 when the code page has none.
constexpr int Cp1252ByteOf(uint32_t codePoint) {
  if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) return static_cast<int>(codePoint);
  for (int i = 0; i < 32; ++i)
    if (kCp1252High[static_cast<size_t>(i)] == codePoint) return 0x80 + i;
  return -1;
}

// Decodes the UTF-8 sequence at s[i] into `codePoint` and returns its length; 0 when it is not
// a valid sequence (overlong forms, surrogates and values past U+10FFFF included).
size_t DecodeUtf8(std::string_view s, size_t i, uint32_t& codePoint);

// Windows-1252 bytes of a UTF-8 text: a character the code page lacks becomes "?", and a byte
// that is not valid UTF-8 passes as itself, so single-byte text goes through unchanged.
std::string Utf8ToCp1252(std::string_view text);

// UTF-8 of one Windows-1252 byte.
void AppendCp1252AsUtf8(std::string& out, uint8_t byte);

}  // namespace velmora::vb

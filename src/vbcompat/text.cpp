#include "vbcompat/text.h"

#include <cstdint>

#include "vbcompat/cp1252.h"

namespace velmora::vb {

std::string Trim(std::string_view s) {
  size_t b = 0, e = s.size();
  while (b < e && s[b] == ' ') ++b;
  while (e > b && s[e - 1] == ' ') --e;
  return std::string(s.substr(b, e - b));
}

std::string UpperCase(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return out;
}

std::string Cp1252ToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 4);
  for (unsigned char c : bytes) AppendCp1252AsUtf8(out, c);
  return out;
}

bool IsValidUtf8(std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    uint32_t cp = 0;
    const size_t len = DecodeUtf8(bytes, i, cp);
    if (len == 0) return false;
    i += len;
  }
  return true;
}

std::string AsUtf8(std::string_view bytes) {
  return IsValidUtf8(bytes) ? std::string(bytes) : Cp1252ToUtf8(bytes);
}

std::string OneLogLine(std::string_view text, size_t maxBytes) {
  std::string out = AsUtf8(text);
  for (char& c : out)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  if (out.size() > maxBytes) {
    size_t cut = maxBytes;
    // Never halfway through a character: step back over continuation bytes.
    while (cut > 0 && (static_cast<unsigned char>(out[cut]) & 0xC0) == 0x80) --cut;
    out.resize(cut);
    out += "...";
  }
  return out;
}

}  // namespace velmora::vb

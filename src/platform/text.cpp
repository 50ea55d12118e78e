#include "platform/text.h"

#include <cstdint>

#include "platform/cp1252.h"

namespace velmora::platform {

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

}  // namespace velmora::platform

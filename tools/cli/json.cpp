#include "json.h"

namespace velmora::cli {

std::string Quoted(const std::string& s) {
  std::string out = "\"";
  for (const char c : s) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char hex[8] = "\\u00";
          const char* digits = "0123456789abcdef";
          hex[4] = digits[(c >> 4) & 0xF];
          hex[5] = digits[c & 0xF];
          out.append(hex, 6);
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

}  // namespace velmora::cli

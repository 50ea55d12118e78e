#include "barcode/cp1252_codes.h"

#include <cstdint>

#include "vbcompat/cp1252.h"

namespace velmora::barcode {
std::vector<int> Cp1252Codes(std::string_view text) {
  std::vector<int> codes;
  codes.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    uint32_t cp = 0;
    const size_t n = vb::DecodeUtf8(text, i, cp);
    if (n == 0) {
      codes.push_back(static_cast<unsigned char>(text[i]));
      ++i;
    } else {
      const int byte = vb::Cp1252ByteOf(cp);
      codes.push_back(byte < 0 ? '?' : byte);
      i += n;
    }
  }
  return codes;
}

std::string Cp1252Char(int code) {
  std::string out;
  vb::AppendCp1252AsUtf8(out, static_cast<uint8_t>(code & 0xFF));
  return out;
}

}  // namespace velmora::barcode

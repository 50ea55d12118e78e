#include "capi/utf8.h"

#include <cstdint>

namespace velmora::capi {

bool IsValidUtf8(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<uint8_t>(text[i]);
    if (lead < 0x80) {
      ++i;
      continue;
    }
    size_t length = 0;
    uint32_t min = 0;
    uint32_t code = 0;
    if ((lead & 0xE0) == 0xC0) {
      length = 2, min = 0x80, code = lead & 0x1Fu;
    } else if ((lead & 0xF0) == 0xE0) {
      length = 3, min = 0x800, code = lead & 0x0Fu;
    } else if ((lead & 0xF8) == 0xF0) {
      length = 4, min = 0x10000, code = lead & 0x07u;
    } else {
      return false;
    }
    if (text.size() - i < length) return false;
    for (size_t k = 1; k < length; ++k) {
      const auto next = static_cast<uint8_t>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      code = (code << 6) | (next & 0x3Fu);
    }
    if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    i += length;
  }
  return true;
}

}  // namespace velmora::capi

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmora::barcode {

// The Windows-1252 code of each character of a UTF-8 text, as the encoders count characters.
// A character the code page lacks counts as "?"; a byte that is not valid UTF-8 counts as
// itself, so single-byte text passes through.
std::vector<int> Cp1252Codes(std::string_view text);

// UTF-8 of one Windows-1252 code (0..255).
std::string Cp1252Char(int code);

}  // namespace velmora::barcode

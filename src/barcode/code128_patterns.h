#pragma once

#include <array>
#include <string_view>

namespace velmora::barcode {

// Module widths of the 107 Code 128 symbols by value (ISO/IEC 15417): 103-105 are the start
// symbols A, B and C, 106 the stop symbol with its final bar.
extern const std::array<std::string_view, 107> kCode128Patterns;

}  // namespace velmora::barcode

#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace velmora::pdf {

// Metrics of a standard Type1 face in thousandths of an em, widths by code of the face's own
// encoding (0 where it has no character).
struct Type1Metrics {
  std::array<int32_t, 256> widths;
  int32_t ascent;
  int32_t descent;  // positive
  int32_t firstChar;
  int32_t lastChar;
};

// The compiled-in metrics of "Symbol" and "ZapfDingbats", which no system face can stand in
// for; null for any other name (those are measured from their metric-compatible system faces).
const Type1Metrics* StandardType1Metrics(std::string_view baseFont);

}  // namespace velmora::pdf

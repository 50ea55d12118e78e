#pragma once

#include <string>

namespace velmora {
class cPDF;
}

namespace velmora::receipt {

// Draws a Code 128 width pattern (bar first, as BarCode128::Barras gives it) on the open page,
// modules `module` points wide, from `top` down by `height`; positions are points from the
// page's top-left corner. Returns the symbol's width in points.
//
// Each bar is one vertical stroke as wide as the bar, centred on it. Strokes of one module each
// would tile the bar on paper, but renderers snap thin strokes to device pixels and leave
// hairline gaps inside wide bars, which readers take for spaces.
double DrawCode128Bars(cPDF& pdf, const std::string& pattern, double top, double left,
                       double module, double height);

}  // namespace velmora::receipt

#include "receipt/draw_bars.h"

#include <charconv>
#include <vector>

#include "barcode/modules.h"
#include "velmora/pdf.h"

namespace velmora::receipt {
namespace {

std::string Decimal(double value) {
  char buffer[32];
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 3);
  return std::string(buffer, r.ptr);
}

}  // namespace

double DrawCode128Bars(cPDF& pdf, const std::string& pattern, double top, double left,
                       double module, double height) {
  const std::vector<barcode::Bar> bars = barcode::PatternBars(pattern);
  pdf.SaveGraphicState();
  pdf.SetColors(0, 0);
  pdf.SetLineFormat(1, ButtCap, MilterJoin, 0, "[]");
  // Bars are grouped by width: one line width per group, then one stroke per bar.
  for (int width = 1; width <= 9; ++width) {
    bool any = false;
    for (const barcode::Bar& b : bars) {
      if (b.width != width) continue;
      // The writer's own line width is whole points; a bar is a fraction of one.
      if (!any) pdf.WCode(Decimal(width * module) + " w");
      any = true;
      const double x = left + (b.start + b.width / 2.0) * module;
      pdf.WLineTo(x, top + height, x, top);
    }
    if (any) pdf.LineStroke();
  }
  pdf.RestoreGraphicState();
  return barcode::PatternModules(pattern) * module;
}

}  // namespace velmora::receipt

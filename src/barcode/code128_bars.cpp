#include "barcode/code128_bars.h"

#include <charconv>
#include <utility>
#include <vector>

#include "velmora/pdf.h"

namespace velmora::barcode {
namespace {

std::string Decimal(double value) {
  char buffer[32];
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 3);
  return std::string(buffer, r.ptr);
}

}  // namespace

int PatternModules(const std::string& pattern) {
  int modules = 0;
  for (const char c : pattern)
    if (c >= '0' && c <= '9') modules += c - '0';
  return modules;
}

double DrawCode128Bars(cPDF& pdf, const std::string& pattern, double top, double left,
                       double module, double height) {
  // Bars are grouped by width: one line width per group, then one stroke per bar.
  std::vector<std::pair<int, double>> bars;  // width in modules, centre x
  int at = 0;
  bool bar = true;
  for (const char c : pattern) {
    const int width = c >= '0' && c <= '9' ? c - '0' : 0;
    if (bar && width > 0) bars.emplace_back(width, left + (at + width / 2.0) * module);
    at += width;
    bar = !bar;
  }
  pdf.SaveGraphicState();
  pdf.SetColors(0, 0);
  pdf.SetLineFormat(1, ButtCap, MilterJoin, 0, "[]");
  for (int width = 1; width <= 9; ++width) {
    bool any = false;
    for (const auto& [w, x] : bars) {
      if (w != width) continue;
      // The writer's own line width is whole points; a bar is a fraction of one.
      if (!any) pdf.WCode(Decimal(width * module) + " w");
      any = true;
      pdf.WLineTo(x, top + height, x, top);
    }
    if (any) pdf.LineStroke();
  }
  pdf.RestoreGraphicState();
  return at * module;
}

}  // namespace velmora::barcode

#include "barcode/modules.h"

namespace velmora::barcode {
namespace {

int Width(char c) { return c >= '0' && c <= '9' ? c - '0' : 0; }

}  // namespace

int PatternModules(const std::string& pattern) {
  int modules = 0;
  for (const char c : pattern) modules += Width(c);
  return modules;
}

std::vector<Bar> PatternBars(const std::string& pattern) {
  std::vector<Bar> bars;
  int at = 0;
  bool bar = true;
  for (const char c : pattern) {
    const int width = Width(c);
    if (bar && width > 0) bars.push_back({at, width});
    at += width;
    bar = !bar;
  }
  return bars;
}

}  // namespace velmora::barcode

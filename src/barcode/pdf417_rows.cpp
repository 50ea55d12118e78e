#include "barcode/modules.h"

namespace velmora::barcode {
namespace {

constexpr bool kStart[kStartModules] = {1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 0, 1, 0, 1, 0, 0};

}  // namespace

std::string RowsToFontText(const std::vector<ModuleRow>& rows) {
  std::string text;
  for (const ModuleRow& row : rows) {
    if (row.size() < kStartModules) return {};
    for (int i = 0; i < kStartModules; ++i)
      if (row[static_cast<size_t>(i)] != kStart[i]) return {};
    text += '+';
    for (size_t i = kStartModules; i < row.size(); i += 4) {
      int nibble = 0;
      for (size_t k = 0; k < 4; ++k) nibble = (nibble << 1) | (i + k < row.size() && row[i + k] ? 1 : 0);
      text += static_cast<char>('A' + nibble);
    }
  }
  return text;
}

std::vector<ModuleRow> FontTextToRows(const std::string& text) {
  std::vector<ModuleRow> rows;
  for (const char c : text) {
    if (c == '+') {
      rows.emplace_back(kStart, kStart + kStartModules);
    } else if (c >= 'A' && c <= 'P' && !rows.empty()) {
      const int nibble = c - 'A';
      for (int k = 3; k >= 0; --k) rows.back().push_back(((nibble >> k) & 1) != 0);
    }
  }
  return rows;
}

}  // namespace velmora::barcode

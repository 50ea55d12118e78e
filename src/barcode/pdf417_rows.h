#pragma once

#include <string>
#include <vector>

namespace velmora::barcode {

// One row of a PDF417 symbol, dark modules true, from the start pattern to the stop pattern.
using ModuleRow = std::vector<bool>;

// The text that the "Code PDF417" font draws as these rows: per row "+" (the first 16 modules,
// which every row shares) followed by one letter "A".."P" per four further modules, the leftmost
// module the high bit, the last letter padded with light modules. Rows that do not start with
// the start pattern are a caller's bug and give an empty result.
std::string RowsToFontText(const std::vector<ModuleRow>& rows);

// The modules that a font text draws, the inverse of RowsToFontText (padding included).
std::vector<ModuleRow> FontTextToRows(const std::string& text);

inline constexpr int kStartModules = 16;  // drawn by "+"

}  // namespace velmora::barcode

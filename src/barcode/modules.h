#pragma once

// What the barcode room gives the rest of the library besides the public classes: symbols as
// modules, and the font whose glyphs are PDF417 modules. Nothing here knows pages or PDF; putting
// modules on paper is the receipt's (src/receipt/draw_bars.h). Other rooms include this header
// and no other of this folder.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::barcode {

// --- Code 128 ---------------------------------------------------------------------------------

// Number of modules a width pattern (BarCode128::Barras) stands for.
int PatternModules(const std::string& pattern);

// One bar of a width pattern, in modules from the symbol's left edge.
struct Bar {
  int start = 0;
  int width = 0;
};

// The bars of a width pattern, left to right: its digits alternate bar and space, bar first.
// A character that is no digit is a run of no width that still takes its turn.
std::vector<Bar> PatternBars(const std::string& pattern);

// The shortest usual Code 128 width pattern of a text of printable ASCII characters (code set B,
// with code set C for runs of four or more digits, which take one symbol per two digits): what
// readers decode to the same text as the encoder's code set B pattern, in about two thirds of
// its width for the digit-heavy prescription identifiers. Empty when a character is outside
// " ".."~".
std::string CompactCode128Pattern(std::string_view text);

// --- PDF417 -----------------------------------------------------------------------------------

// One row of a PDF417 symbol, dark modules true, from the start pattern to the stop pattern.
using ModuleRow = std::vector<bool>;

inline constexpr int kStartModules = 16;  // drawn by "+"

// The text that the "Code PDF417" font draws as these rows: per row "+" (the first 16 modules,
// which every row shares) followed by one letter "A".."P" per four further modules, the leftmost
// module the high bit, the last letter padded with light modules. Rows that do not start with
// the start pattern are a caller's bug and give an empty result.
std::string RowsToFontText(const std::vector<ModuleRow>& rows);

// The modules that a font text draws, the inverse of RowsToFontText (padding included).
std::vector<ModuleRow> FontTextToRows(const std::string& text);

// The "Code PDF417" TrueType font (compiled in from resources/code_pdf417.ttf) whose glyphs draw
// the letters of a font text; the receipt embeds it and installs it for the user.
std::span<const uint8_t> BarcodeFontBytes();

}  // namespace velmora::barcode

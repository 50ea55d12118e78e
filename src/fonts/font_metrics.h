#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace velmora::fonts {

// What the PDF writer needs of a face, in thousandths of an em (the unit of PDF glyph widths).
// This stands in for GDI's text metrics of a font at 750 points on a 96 dpi screen, where one em
// is exactly 1000 pixels.
struct FontMetrics {
  int32_t ascent = 0;     // above the baseline (GDI's tmAscent, from the OS/2 Windows ascent)
  int32_t descent = 0;    // below the baseline, positive (tmDescent)
  int32_t firstChar = 0;  // lowest Windows-1252 code from 32 up that the face maps
  int32_t lastChar = 0;   // highest Windows-1252 code that the face maps
  // Advance of every Windows-1252 code; a code the face does not map gets the .notdef advance,
  // as GDI gives such characters the default character's width.
  std::array<int32_t, 256> widths{};
  std::string family;          // family of the face actually used
  std::string postscriptName;  // may be empty
  std::string file;            // empty for a face read from memory
};

// The face fontconfig chooses for `family` in the given style (aliases such as "Times New Roman"
// -> Liberation Serif apply, and an unknown family falls back as GDI's font mapper does).
// nullopt only when no face can be opened at all. Results are cached per thread.
std::optional<FontMetrics> MeasureSystemFont(const std::string& family, bool bold, bool italic);

// The first face of a TrueType/OpenType file held in memory; nullopt when it is not one.
std::optional<FontMetrics> MeasureFontBytes(const uint8_t* data, size_t size);

}  // namespace velmora::fonts

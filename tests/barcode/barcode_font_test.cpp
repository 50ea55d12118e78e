#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "barcode/modules.h"

namespace velmora {
namespace {

// The dark modules each glyph draws, read from its outline: at 8 pt a module (128 units of 2048)
// is 0.5 pt and every glyph 2 pt high, from the baseline up.
std::string DrawnModules(FT_Face face, char c, int modules) {
  if (FT_Load_Char(face, static_cast<FT_ULong>(c), FT_LOAD_NO_SCALE) != 0) return "?";
  std::string bits(static_cast<size_t>(modules), '0');
  const FT_Outline& o = face->glyph->outline;
  int first = 0;
  for (int k = 0; k < o.n_contours; ++k) {
    long minX = 1 << 30, maxX = -1, minY = 1 << 30, maxY = -1;
    for (int p = first; p <= o.contours[k]; ++p) {
      minX = std::min(minX, o.points[p].x), maxX = std::max(maxX, o.points[p].x);
      minY = std::min(minY, o.points[p].y), maxY = std::max(maxY, o.points[p].y);
    }
    first = o.contours[k] + 1;
    if (minY != 0 || maxY != 512 || minX % 128 || maxX % 128) return "bad contour";
    for (long x = minX / 128; x < maxX / 128 && x < modules; ++x) bits[static_cast<size_t>(x)] = '1';
  }
  return bits;
}

TEST(BarcodeFont, GlyphsDrawTheirModulePatterns) {
  FT_Library lib;
  ASSERT_EQ(FT_Init_FreeType(&lib), 0);
  const auto bytes = barcode::BarcodeFontBytes();
  FT_Face face;
  ASSERT_EQ(FT_New_Memory_Face(lib, bytes.data(), static_cast<FT_Long>(bytes.size()), 0, &face), 0);
  EXPECT_EQ(face->units_per_EM, 2048);
  EXPECT_STREQ(face->style_name, "Regular");
  EXPECT_EQ(DrawnModules(face, '+', 16), "1111111101010100");
  const char* nibbles[] = {"0000", "0001", "0010", "0011", "0100", "0101", "0110", "0111",
                           "1000", "1001", "1010", "1011", "1100", "1101", "1110", "1111"};
  for (int v = 0; v < 16; ++v) EXPECT_EQ(DrawnModules(face, static_cast<char>('A' + v), 4), nibbles[v]);
  EXPECT_EQ(DrawnModules(face, ' ', 4), "0000");
  FT_Done_Face(face);
  FT_Done_FreeType(lib);
}

}  // namespace
}  // namespace velmora

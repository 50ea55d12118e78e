#include "fonts/font_metrics.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "support/test_support.h"

namespace velmora::fonts {
namespace {

// The faces fontconfig stands in with are metric-compatible: the widths the Windows faces have.
TEST(FontMetrics, SystemFacesAndTheirStandIns) {
  const struct { const char* family; bool bold; unsigned char code; int32_t width; } cases[] = {{"Arial", false, ' ', 278}, {"Arial", false, 0xE9, 556}, {"Arial", true, 'a', 556},
               {"Arial", true, 'b', 611},  {"Arial", false, 'b', 556},  {"Times New Roman", false, ' ', 250},
               {"Times New Roman", false, 'A', 722}};
  for (const auto& c : cases) {
    const auto m = MeasureSystemFont(c.family, c.bold, false);
    ASSERT_TRUE(m) << c.family;
    EXPECT_EQ(m->widths[c.code], c.width) << c.family << " " << c.code;
  }
  const auto arial = MeasureSystemFont("Arial", false, false);
  EXPECT_EQ(std::tuple(arial->ascent, arial->descent, arial->firstChar, arial->lastChar), std::tuple(905, 212, 32, 255));
  EXPECT_TRUE(MeasureSystemFont("No Such Family Anywhere", false, false));  // falls back, as GDI does
}

TEST(FontMetrics, FaceFromBytes) {
  const std::string font = testing::ReadFile(VELMORA_SOURCE_DIR "/resources/code_pdf417.ttf");
  const auto m = MeasureFontBytes(reinterpret_cast<const uint8_t*>(font.data()), font.size());
  ASSERT_TRUE(m);
  EXPECT_EQ(m->widths['A'], 250);
  EXPECT_EQ(m->widths['+'], 1000);
  EXPECT_TRUE(m->file.empty());
  const std::vector<uint8_t> junk{1, 2, 3};
  EXPECT_FALSE(MeasureFontBytes(junk.data(), junk.size()));
}

}  // namespace
}  // namespace velmora::fonts

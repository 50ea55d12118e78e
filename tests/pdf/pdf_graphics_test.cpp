#include "pdf/pdf_fixture.h"

namespace velmora::testing {
namespace {

TEST_F(PageTest, LinesAndColours) {
  pdf_.SetColors(0x0000FF, 0x808080);
  pdf_.SetColors(-1, -1);
  pdf_.SetColors(0);
  pdf_.SetLineFormat();
  pdf_.SetLineFormat(3, RoundCap, BevelJoin, 2, "[3 1]");
  pdf_.MoveTo(20, 50);
  pdf_.WLineTo(560, 50);
  pdf_.WLineTo(30.5, 60.25, 10, 20);
  pdf_.LineStroke();
  pdf_.SaveGraphicState();
  pdf_.RestoreGraphicState();
  EXPECT_EQ(Content(pdf_), CrLines({"0.5 0.5 0.5 rg", "1.0 0.0 0.0 RG", "0.0 0.0 0.0 RG", "1 w", "0 J", "0 j",
                                    "[] 0 d", "3 w", "1 J", "2 j", "[3 1] 2 d", "20.00 792.00 m", "560.00 792.00 l",
                                    "10.00 822.00 m", "30.50 781.75 l", "S", "q", "Q"}));
}

TEST_F(PageTest, CurvesPickTheirOperator) {
  pdf_.WCurve(100, 100, 10, 20, 30, 40, 0, 0);
  pdf_.WCurve(100, 100, 10, 20);
  pdf_.WCurve(100, 100, std::nullopt, std::nullopt, 30, 40);
  pdf_.WCurve(100, 100);
  EXPECT_EQ(Content(pdf_), CrLines({"0.00 842.00 m", "10.00 822.00 30.00 802.00 100.00 742.00 c",
                                    "10.00 822.00 100.00 742.00 y", "30.00 802.00 100.00 742.00 v",
                                    "100.00 742.00 100.00 742.00 v"}));
}

TEST_F(PageTest, CircleIsFourQuarterArcs) {
  pdf_.WCircle(100, 100, 10);
  EXPECT_EQ(Content(pdf_), CrLines({"q", "110.00 742.00 m", "110.00 747.52 105.52 752.00 100.00 752.00 c",
                                    "94.48 752.00 90.00 747.52 90.00 742.00 c",
                                    "90.00 736.48 94.48 732.00 100.00 732.00 c",
                                    "105.52 732.00 110.00 736.48 110.00 742.00 c", "s", "Q"}));
}

TEST_F(PageTest, Rectangles) {
  pdf_.WRectangle(10, 10, 20, 30);
  pdf_.SetColors(-1, 0x00FFFF);
  pdf_.WRectangle(10, 10, 20, 30, 2, 0xFF0000, true);
  EXPECT_EQ(Content(pdf_), CrLines({"q", "1 w", "0.0 0.0 0.0 RG", "10 832 30 -20 re", "S", "Q", "1.0 1.0 0.0 rg",
                                    "q", "2 w", "0.0 0.0 1.0 RG", "10 832 30 -20 re", "1.0 1.0 0.0 rg", "f", "Q"}));
}

}  // namespace
}  // namespace velmora::testing

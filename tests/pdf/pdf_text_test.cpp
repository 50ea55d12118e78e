#include <cmath>
#include <tuple>

#include "pdf/pdf_fixture.h"

namespace velmora::testing {
namespace {

TEST_F(PdfTest, TrueTypeFontObjectsByteForByte) {
  // Metrics set by hand, so the bytes follow from the rules alone: widths listed from the first
  // to the last character, and a bounding-box width that is the running maximum without the
  // first character's width (900 does not count; 408 does).
  const std::string expected =
      kHeaderAndInfo +
      Dict(5, {"/Type /FontDescriptor", "/FontName /TimesNewRoman", "/Flags 32 /FontBBox [ 0 -216 408 891 ] ",
               "/StemV 80 ", "/ItalicAngle 0 /CapHeight 891", "/Ascent 891 /Descent -216"}) +  // 198
      Obj(6, {"<< /Type /Font ", "/Subtype /TrueType", "/Name /F1", "/BaseFont /TimesNewRoman,Bold",
              "/FirstChar 32", "/LastChar 34", "/FontDescriptor 5 0 R", "/Encoding /WinAnsiEncoding",
              "/Widths [ 900 333 408  ]", ">>"}) +                                             // 373
      Resources("/F1 6 0 R\r") +                                                               // 567
      kCatalog + kNoPages +                                                                    // 613, 662
      XrefAndTrailer({15, 613, 662, 567, 198, 373}, 732);
  std::string bytes = WriteChecked("truetype.pdf", [](cPDF& pdf) {
    cFont& f = pdf.Fonts.Add("F1", "Times New Roman", TrueType, Bold);
    f.Measured = true, f.FirstChar = 32, f.LastChar = 34, f.Ascent = 891, f.Descent = 216;
    f.Widths[32] = 900, f.Widths[33] = 333, f.Widths[34] = 408;
  });
  EXPECT_EQ(bytes, expected);
}

TEST_F(PdfTest, MetricsComeFromTheFaceOrItsMetricCompatibleStandIn) {
  cPDF pdf;
  cFont& arial = pdf.Fonts.Add("F4", "Arial");
  arial.Measure();
  // Liberation Sans, metric-compatible with Arial: the widths Arial has.
  EXPECT_EQ(arial.Widths[' '], 278);
  EXPECT_EQ(arial.Widths[0xE9], 556);  // é
  EXPECT_EQ(arial.Ascent, 905);
  EXPECT_EQ(arial.Descent, 212);
  EXPECT_EQ(arial.FirstChar, 32);
  EXPECT_EQ(arial.LastChar, 255);
  cFont& times = pdf.Fonts.Add("F1", "Times New Roman");
  times.Measure();
  EXPECT_EQ(times.Widths[' '], 250);
  EXPECT_EQ(times.Widths['A'], 722);
  cFont bold;
  bold.LoadFontTTF("F9", "Arial", "Bold");
  EXPECT_EQ(bold.fStyle, Bold);
  EXPECT_EQ(bold.Widths['a'], 556);
  EXPECT_EQ(bold.Widths['b'], 611);  // 556 in the regular face
  EXPECT_EQ(pdf.GetTextWidth("AA", "F4", 10), 13.34);
  // The two symbol faces have no metric-compatible system face: their own metrics, by the code
  // of their built-in encoding (Symbol's "a" is alpha, ZapfDingbats' "!" a scissors).
  for (const auto& [face, code, width] : {std::tuple{"Symbol", 'a', 631}, {"Symbol", ' ', 250},
                                          {"ZapfDingbats", '!', 974}, {"ZapfDingbats", 'n', 761}}) {
    cFont type1;
    type1.BaseFont = face, type1.fType = Type1;
    type1.Measure();
    EXPECT_EQ(type1.Widths[static_cast<size_t>(code)], width) << face << " " << code;
  }
}

TEST_F(PdfTest, TextWithAccentsIsHexOfWindows1252AndRendersAsAccents) {
  std::string path = Path("accents.pdf");
  std::string bytes = WriteChecked("accents.pdf", [](cPDF& pdf) {
    pdf.Fonts.Add("F1", "Times New Roman");
    pdf.NewPage();
    pdf.WText(100, 50, "Dispensación señor Müller €", "F1", 14);
  });
  EXPECT_NE(bytes.find("<44697370656E73616369F36E207365F16F72204DFC6C6C65722080> Tj\r"), std::string::npos);
  EXPECT_NE(ExtractText(path).find("Dispensación señor Müller €"), std::string::npos) << ExtractText(path);
}

TEST_F(PageTest, WTextEdgeCases) {
  pdf_.WText(42, 10, "", "F1", 9, 90);
  EXPECT_EQ(Content(pdf_), CrLines({"q", "BT", "/F1 9 Tf", "0.0000 1.0000 -1.0000 0.0000 10.0000 800.0000 Tm",
                                   "0.0 0.0 0.0 rg", "<> Tj", "ET", "Q"}));
  EXPECT_EQ(ErrorNumber([&] { pdf_.WText(10, 10, "x", "F7", 9); }), 5);
  pdf_.SetTextColor(0x808080);
  size_t before = Content(pdf_).size();
  pdf_.WText(10, 10, "x", "F1", 9);
  EXPECT_NE(Content(pdf_).substr(before).find("\r0.5 0.5 0.5 rg\r"), std::string::npos);
}

TEST_F(PageTest, WTextCodeWritesAllFourteenCodes) {
  pdf_.WTextCode(SetFont, {std::string("F1"), 12});  // no text object yet: nothing
  EXPECT_EQ(Content(pdf_), "");
  pdf_.WTextCode(BeginText);
  pdf_.WTextCode(SetFont, {std::string("F1"), 12});
  pdf_.WTextCode(SetColor, {0x0000FF});
  pdf_.WTextCode(SetPos, {100, 42});
  pdf_.WTextCode(TextShow, {std::string("Año")});
  pdf_.WTextCode(NewLine);
  pdf_.WTextCode(CharSpace, {0.5});
  pdf_.WTextCode(WordSpace, {2});
  pdf_.WTextCode(HorizontalScale, {90});
  pdf_.WTextCode(TextLeading, {14});
  pdf_.WTextCode(RenderMode, {int64_t{StrokeText}});
  pdf_.WTextCode(TextRise, {-3});
  pdf_.WTextCode(TransformationMatrix, {1, 0, 0, 1, 72.5, 700});
  pdf_.WTextCode(EndText);
  pdf_.WTextCode(TextShow, {std::string("ignored")});
  EXPECT_EQ(Content(pdf_), CrLines({"BT", "/F1 12 Tf", "1.0 0.0 0.0 rg", "100 800 Td", "<41F16F> Tj", "T*",
                                   "0.5 Tc", "2 Tw", "90 Tz", "14 TL", "1 Tr", "-3 Ts",
                                   "1.0000 0.0000 0.0000 1.0000 72.5000 700.0000 Tm", "ET"}));
}

TEST_F(PageTest, WTextInsideAnOpenTextObjectWritesNoBTOrET) {
  pdf_.WTextCode(BeginText);
  pdf_.WText(100, 50, "a", "F1", 10);
  pdf_.WTextCode(EndText);
  EXPECT_EQ(Content(pdf_), CrLines({"BT", "q", "/F1 10 Tf", "1.0000 0.0000 0.0000 1.0000 50.0000 742.0000 Tm",
                                   "0.0 0.0 0.0 rg", "<61> Tj", "Q", "ET"}));
}

class TextBoxTest : public PageTest {
 protected:
  void SetUp() override {
    PageTest::SetUp();
    // Courier (Liberation Mono here): every character 600/1000 em, 6 points at size 10.
    pdf_.Fonts.Add("C", "Courier", Type1).Measure();
  }
  double Baseline() {
    const cFont& f = pdf_.Fonts.Item("C");
    return 10.0 * f.Ascent / (f.Ascent + f.Descent);
  }
};

TEST_F(TextBoxTest, WidthsAndBreaking) {
  EXPECT_EQ(pdf_.GetTextWidth("abc", "C", 10), 18.0);
  EXPECT_EQ(pdf_.BreakLines("aaa bbb ccc ddd", "C", 10, 70), (std::vector<std::string>{"aaa bbb ccc", "ddd"}));
  EXPECT_EQ(pdf_.BreakLines("abcdefghij", "C", 10, 30), (std::vector<std::string>{"abcde", "fghij"}));
  EXPECT_EQ(pdf_.BreakLines("uno\r\ndos\n\ntres", "C", 10, 300), (std::vector<std::string>{"uno", "dos", "", "tres"}));
  EXPECT_EQ(pdf_.BreakLines("", "C", 10, 300), std::vector<std::string>{});
  EXPECT_EQ(pdf_.BreakLines("  a   b  ", "C", 10, 300), std::vector<std::string>{"a b"});
  EXPECT_EQ(pdf_.BreakLines("ñandú", "C", 10, 300), std::vector<std::string>{"ñandú"});
  EXPECT_EQ(pdf_.GetCellHeight("aaa bbb ccc ddd", "C", 10, 70), 20.0);
  EXPECT_EQ(pdf_.GetCellHeight("", "C", 10, 70), 0.0);
  // No room at all: a character a line, and the breaking ends.
  for (double width : {0.0, -5.0, std::nan("")}) {
    EXPECT_EQ(pdf_.BreakLines("ab c", "C", 10, width), (std::vector<std::string>{"a", "b", "c"})) << width;
    EXPECT_EQ(pdf_.GetCellHeight("ab c", "C", 10, width), 30.0) << width;
  }
  // A margin wider than half the box leaves it no width.
  pdf_.WTextBox(100, 50, 40, 10, "ab", "C", 10, hLeft, vTop, 0, 0, 0, false, 6);
  EXPECT_NE(Content(pdf_).find("<61> Tj\r1 0 0 1 56.00 "), std::string::npos) << Content(pdf_);
}

TEST_F(TextBoxTest, HorizontalAndVerticalAlignment) {
  // Each box's text object: its colour, then where its line starts (x, and y down from the top).
  for (const auto& [h, v, color, margin, rgb, x, fromTop] :
       {std::tuple{hRight, vBottom, 0, 0, "0.0 0.0 0.0", "132.00", 130.0}, {hCenter, vMiddle, 0x00FF00, 0, "0.0 1.0 0.0", "91.00", 115.0},
        {hLeft, vTop, 0, 5, "0.0 0.0 0.0", "55.00", 105.0}}) {
    const size_t at = Content(pdf_).size();
    pdf_.WTextBox(100, 50, 40, 100, "abc", "C", 10, h, v, color, 0, 0, false, static_cast<int16_t>(margin));
    EXPECT_EQ(Content(pdf_).substr(at), CrLines({"BT", "/C 10 Tf", std::string(rgb) + " rg",
                                                 "1 0 0 1 " + std::string(x) + " " + pdf::Fixed(842 - (fromTop + Baseline()), 2) + " Tm", "<616263> Tj", "ET"}));
  }
}

TEST_F(TextBoxTest, JustifiedLinesSpreadTheirBlanks) {
  pdf_.WTextBox(100, 50, 40, 70, "aaa bbb ccc ddd", "C", 10, hjustify);
  auto y = [&](int line) { return pdf::Fixed(842 - (100 + 10 * line + Baseline()), 2); };
  EXPECT_EQ(Content(pdf_), CrLines({"BT", "/C 10 Tf", "0.0 0.0 0.0 rg", "2.00 Tw", "1 0 0 1 50.00 " + y(0) + " Tm",
                                    "<6161612062626220636363> Tj", "0 Tw",
                                    "1 0 0 1 50.00 " + y(1) + " Tm", "<646464> Tj", "ET"}));
}

TEST_F(TextBoxTest, BorderIsDrawnFirst) {
  pdf_.WTextBox(10, 10, 20, 30, "", "C", 10, hLeft, vTop, 0, 2, 0x0000FF);
  EXPECT_EQ(Content(pdf_), CrLines({"q", "2 w", "1.0 0.0 0.0 RG", "10 832 30 -20 re", "S", "Q", "BT", "/C 10 Tf",
                                    "0.0 0.0 0.0 rg", "ET"}));
}

TEST_F(PdfTest, EmbeddedTrueTypeFontFromBytes) {
  std::vector<uint8_t> font = SourceBytes("resources/code_pdf417.ttf");
  ASSERT_FALSE(font.empty());
  std::string path = Path("embedded.pdf");
  std::string bytes = WriteChecked("embedded.pdf", [&](cPDF& pdf) {
    cFont& f = pdf.Fonts.Add("F5", "Code PDF417");
    f.EmbedFontData(font);
    EXPECT_EQ(f.Widths['A'], 250);
    EXPECT_EQ(f.Widths['+'], 1000);
    pdf.NewPage();
    pdf.WTextBox(100, 100, 100, 300, "+ABCDP", "F5", 8);
  });
  EXPECT_NE(bytes.find("/FontFile2 8 0 R\r"), std::string::npos);
  EXPECT_NE(bytes.find("/Length1 " + std::to_string(font.size()) + "\r"), std::string::npos);
  EXPECT_NE(bytes.find("/BaseFont /CodePDF417\r"), std::string::npos);
  ProgramResult fonts = RunProgram({"pdffonts", path});
  EXPECT_NE(fonts.output.find("CodePDF417"), std::string::npos) << fonts.output;
  EXPECT_NE(fonts.output.find("WinAnsi          yes no"), std::string::npos) << fonts.output;  // embedded
  EXPECT_EQ(ErrorNumber([] { cFont().EmbedFontData({1, 2, 3}); }), 5);
}

}  // namespace
}  // namespace velmora::testing

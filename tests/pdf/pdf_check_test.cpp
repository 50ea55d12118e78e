#include "pdf_fixture.h"

namespace velmora::testing {
namespace {

// Everything at once, laid out the way the receipt lays out a page, with every drawing operator
// the writer has, so the outside checkers see each of them.
TEST_F(PdfTest, ImagesBlocksOutlinesAndFontsTogether) {
  folder_->Write("frame.txt", "q\r0.5 w\r10 10 575 822 re S\rQ");
  std::vector<uint8_t> barcode = SourceBytes("resources/code_pdf417.ttf");
  std::string path = Path("all.pdf");
  std::string doc = WriteChecked("all.pdf", [&](cPDF& pdf) {
    pdf.Fonts.Add("F1", "Times New Roman", TrueType);
    pdf.Fonts.Add("F2", "Helvetica", Type1);
    pdf.Fonts.Add("F3", "Palace Script MT");
    pdf.Fonts.Add("F4", "Arial");
    pdf.Fonts.Add("F5", "Code PDF417").EmbedFontData(barcode);
    pdf.LoadImage(PdfPicture{2, 2, {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}}, "logoMarvo", false, true);
    pdf.CreaBloque("Frame", Path("frame.txt"));
    for (int page = 0; page < 3; ++page) {
      pdf.NewPage(A4_Vertical);
      pdf.AddOutline("p" + std::to_string(page), "Página " + std::to_string(page + 1));
      pdf.WBloque("Frame");
      pdf.SetColors(0, -1);
      pdf.SetLineFormat(1, ButtCap, MilterJoin, 0, "[]");
      pdf.MoveTo(20, 50);
      pdf.WLineTo(560, 50);
      pdf.LineStroke();
      pdf.WCurve(300, 300, 100, 100, 200, 400, 50, 300);
      pdf.LineStroke();
      pdf.WCircle(300, 500, 40);
      pdf.WRectangle(600, 50, 100, 200, 1, 0, true);
      pdf.WImage(40, 460, 25, 80, "logoMarvo");
      pdf.WTextBox(50, 20, 100, 150, "TIS: ", "F4", 10);
      pdf.WTextBox(50, 60, 100, 150, "ABCD123456", "F1", 10);
      pdf.WTextBox(50, 280, 100, 300, "José Núñez Peña", "F1", 10);
      pdf.WTextBox(80, 25, 90, 120, "", "F1", 10, hLeft, vTop, 0, 1);
      for (int k = 1; k <= 5; ++k) pdf.WTextBox(static_cast<int16_t>(170 + 2 * k), 300, 100, 200, "+ABCDEFGHIJKLMNOP", "F5", 8);
      pdf.WText(300, 100, "Rotado", "F2", 12, 45);
    }
  });
  EXPECT_NE(doc.find("/XObject \r<<\r/logoMarvo 5 0 R\r\r/Frame 6 0 R\r\r>>\r"), std::string::npos);
  EXPECT_EQ(doc.find("/XObject \r", doc.find("/XObject \r") + 1), std::string::npos) << "one /XObject key";
  ProgramResult fonts = RunProgram({"pdffonts", path});
  EXPECT_EQ(fonts.exitCode, 0) << fonts.output;
  EXPECT_NE(ExtractText(path).find("José Núñez Peña"), std::string::npos);
}

}  // namespace
}  // namespace velmora::testing

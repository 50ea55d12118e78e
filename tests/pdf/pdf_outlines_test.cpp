#include "pdf/pdf_fixture.h"

namespace velmora::testing {
namespace {

TEST_F(PdfTest, OutlinesByteForByte) {
  const std::string expected =
      kHeaderAndInfo + kA4Page5 +                                                                  // 198
      ContentStream(6, "", 0) + Resources("") +                                                    // 296, 365
      Dict(2, {"/Type /Catalog", "/Pages 3 0 R", "/Outlines 8 0 R", "/PageMode /UseOutlines"}) +    // 401
      Dict(8, {"/Type /Outlines", "/First 9 0 R", "/Last 10 0 R", "/Count 2"}) +                    // 489
      Dict(9, {"/Title < 556E6F > ", "/Parent 8 0 R", "/Next 10 0 R", "/Dest [5 0 R /XYZ 0 842 null ]"}) +  // 561
      Dict(10, {"/Title < 446F73 > ", "/Parent 8 0 R", "/Prev 9 0 R", "/Dest [5 0 R /XYZ 10 742 1.5 ]"}) +  // 659
      Dict(3, {"/Type /Pages", "/Count 1", "/Kids [ 5 0 R ]", "/Resources 4 0 R"}) +                // 757
      XrefAndTrailer({15, 401, 757, 365, 198, 296, 348, 489, 561, 659}, 833);
  EXPECT_EQ(WriteChecked("outlines.pdf",
                         [](cPDF& pdf) {
                           pdf.NewPage();
                           pdf.AddOutline("o1", "Uno");
                           pdf.AddOutline("o2", "Dos", "", 1, 100, 10, 150);
                         }),
            expected);
}

TEST_F(PdfTest, NestedOutlinesAndBadParents) {
  std::string doc = WriteChecked("nested.pdf", [](cPDF& pdf) {
    pdf.NewPage();
    pdf.NewPage();
    pdf.AddOutline("cap1", "Capítulo 1", "", 1);
    pdf.AddOutline("sec11", "Sección 1.1", "cap1", 1, 200);
    pdf.AddOutline("sec12", "Sección 1.2", "cap1", 2, 300, 0, 100);
    pdf.AddOutline("cap2", "Capítulo 2");
    EXPECT_THROW(pdf.AddOutline("x", "x", "nobody"), Error);
    EXPECT_EQ(pdf.Outlines.Item("cap2").Page, 2);
  });
  // Pages listed in order; root 11 (after pages 5..10), entries 12..15.
  EXPECT_NE(doc.find("/Count 2\r/Kids [ 5 0 R 8 0 R ]\r"), std::string::npos);
  EXPECT_NE(doc.find("/Outlines 11 0 R\r"), std::string::npos);
  EXPECT_NE(doc.find("/First 12 0 R\r/Last 15 0 R\r/Count 4\r"), std::string::npos);
  EXPECT_NE(doc.find("/Parent 11 0 R\r/Next 15 0 R\r/Dest [5 0 R /XYZ 0 842 null ]\r"
                     "/First 13 0 R\r/Last 14 0 R\r/Count 2\r"),
            std::string::npos);
  EXPECT_NE(doc.find("/Parent 12 0 R\r/Prev 13 0 R\r/Dest [8 0 R /XYZ 0 542 1 ]\r"), std::string::npos);
}

// Blocks share the one /XObject dictionary with images: a second key of that name would make
// readers drop the images.
TEST_F(PdfTest, BlocksAreFormXObjects) {
  folder_->Write("block.txt", "q\r0 0 1 RG\r20 20 m 200 200 l S\rQ");
  std::string doc = WriteChecked("blocks.pdf", [&](cPDF& pdf) {
    pdf.CreaBloque("Marco", Path("block.txt"));
    pdf.LoadImage(PdfPicture{1, 1, {0, 0, 0}}, "Logo");
    pdf.NewPage();
    pdf.WBloque("Marco");
    EXPECT_THROW(pdf.WBloque("Nada"), Error);
    EXPECT_THROW(pdf.CreaBloque("Otro", Path("block.txt")), Error);  // a page is open
  });
  EXPECT_NE(doc.find("5 0 obj\r<<\r/Type /XObject\r/Subtype /Form\r/FormType 1\r/BBox [0 0 595.2 842]\r"
                     "/Matrix [1 0 0 1 0 0]\r/Name /Marco\r/ColorSpace /DeviceRGB\r/Length 32\r>>\rstream\r"
                     "q\r0 0 1 RG\r20 20 m 200 200 l S\rQ\rendstream\rendobj\r"),
            std::string::npos);
  EXPECT_NE(doc.find("stream\r/Marco Do\rendstream"), std::string::npos);
  EXPECT_NE(doc.find("/XObject \r<<\r/Logo 6 0 R\r\r/Marco 5 0 R\r\r>>\r"), std::string::npos);
  EXPECT_EQ(doc.find("/XObject \r", doc.find("/XObject \r") + 1), std::string::npos) << "one /XObject key";
}

TEST_F(PdfTest, UnreadableBlockFilesAreErrors) {
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate());
  EXPECT_EQ(ErrorNumber([&] { pdf.CreaBloque("B", Path("missing.txt")); }), 53);
  EXPECT_THROW(pdf.CreaBloque("B", folder_->Root()), Error);  // a folder
  pdf.PDFClose();
  EXPECT_EQ(XrefProblems(AsString(pdf.GetPDFStream())), "");
}

}  // namespace
}  // namespace velmora::testing

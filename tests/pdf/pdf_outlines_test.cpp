#include "pdf/pdf_writer.h"
#include "pdf_fixture.h"

namespace velmora::testing {
namespace {

TEST_F(PdfTest, OutlinesByteForByte) {
  std::string expected = CrLines({
      "5 0 obj",                          // 198
      "<<",
      "/Type /Page",
      "/Parent 3 0 R",
      "/MediaBox [ 0 0 595 842]",
      "/Contents 6 0 R",
      "/Rotate 0",
      ">>",
      "endobj",
      "6 0 obj",                          // 296
      "<<",
      "/Length 7 0 R",
      ">>",
      "stream",                           // content starts at 331
      "endstream",                        // 331
      "endobj",                           // 341
      "7 0 obj",                          // 348
      "0",
      "endobj",
      "4 0 obj",                          // 365
      "<< ",
      "/Font",
      "<< ",
      "",
      ">>",
      ">>",
      "endobj",
      "2 0 obj",                          // 401
      "<<",
      "/Type /Catalog",
      "/Pages 3 0 R",
      "/Outlines 8 0 R",                  // 440
      "/PageMode /UseOutlines",           // 456
      ">>",                               // 479
      "endobj",                           // 482
      "8 0 obj",                          // 489
      "<<",
      "/Type /Outlines",
      "/First 9 0 R",
      "/Last 10 0 R",
      "/Count 2",
      ">>",
      "endobj",
      "9 0 obj",                          // 561
      "<<",
      "/Title < 556E6F > ",
      "/Parent 8 0 R",
      "/Next 10 0 R",
      "/Dest [5 0 R /XYZ 0 842 null ]",
      ">>",
      "endobj",
      "10 0 obj",                         // 659
      "<<",
      "/Title < 446F73 > ",
      "/Parent 8 0 R",
      "/Prev 9 0 R",
      "/Dest [5 0 R /XYZ 10 742 1.5 ]",
      ">>",
      "endobj",
      "3 0 obj",                          // 757
      "<<",
      "/Type /Pages",
      "/Count 1",
      "/Kids [ 5 0 R ]",
      "/Resources 4 0 R",
      ">>",
      "endobj",
      "xref",                             // 833
      "0 11",
      "0000000000 65535 f ",
      "0000000015 00000 n ",
      "0000000401 00000 n ",
      "0000000757 00000 n ",
      "0000000365 00000 n ",
      "0000000198 00000 n ",
      "0000000296 00000 n ",
      "0000000348 00000 n ",
      "0000000489 00000 n ",
      "0000000561 00000 n ",
      "0000000659 00000 n ",
      "trailer",
      "<<",
      "/Size 11",
      "/Root 2 0 R",
      "/Info 1 0 R",
      ">>",
      "startxref",
      "833",
      "%%EOF",
  });
  std::string bytes = WriteChecked("outlines.pdf", [](cPDF& pdf) {
    pdf.NewPage();
    pdf.AddOutline("o1", "Uno");
    pdf.AddOutline("o2", "Dos", "", 1, 100, 10, 150);
  });
  ASSERT_GT(bytes.size(), 198u);
  EXPECT_EQ(bytes.substr(198), expected);
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
  // Root 11 (after pages 5..10), entries 12..15.
  EXPECT_NE(doc.find("/Outlines 11 0 R\r"), std::string::npos);
  EXPECT_NE(doc.find("/First 12 0 R\r/Last 15 0 R\r/Count 4\r"), std::string::npos);
  EXPECT_NE(doc.find("/Parent 11 0 R\r/Next 15 0 R\r/Dest [5 0 R /XYZ 0 842 null ]\r"
                     "/First 13 0 R\r/Last 14 0 R\r/Count 2\r"),
            std::string::npos);
  EXPECT_NE(doc.find("/Parent 12 0 R\r/Prev 13 0 R\r/Dest [8 0 R /XYZ 0 542 1 ]\r"), std::string::npos);
}

TEST_F(PdfTest, NoOutlinesMeansNoOutlineKeys) {
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate());
  pdf.NewPage();
  pdf.PDFClose();
  std::string doc = AsString(pdf.GetPDFStream());
  EXPECT_EQ(doc.find("/Outlines"), std::string::npos);
  EXPECT_EQ(doc.find("/PageMode"), std::string::npos);
}

TEST_F(PdfTest, BlocksAreFormXObjects) {
  folder_->Write("block.txt", "q\r0 0 1 RG\r20 20 m 200 200 l S\rQ");
  std::string doc = WriteChecked("blocks.pdf", [&](cPDF& pdf) {
    pdf.CreaBloque("Marco", Path("block.txt"));
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
  EXPECT_NE(doc.find("/XObject \r<<\r/Marco 5 0 R\r\r>>\r"), std::string::npos);
}

TEST_F(PdfTest, UnreadableBlockFilesAreErrors) {
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate());
  try {
    pdf.CreaBloque("B", Path("missing.txt"));
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 53);
  }
  EXPECT_THROW(pdf.CreaBloque("B", folder_->Root()), Error);  // a folder
  pdf.PDFClose();
  EXPECT_EQ(XrefProblems(AsString(pdf.GetPDFStream())), "");
}

}  // namespace
}  // namespace velmora::testing

#include <sys/stat.h>

#include "pdf/pdf_writer.h"
#include "pdf_fixture.h"

namespace velmora::testing {
namespace {

// The Info object of every test document (the clock is pinned): it starts at byte 15, after
// "%PDF-1.3" CR (9 bytes) and "%" E2 E3 CF D3 CR (6), and ends at byte 198.
const std::string kHeaderAndInfo = CrLines({
    "%PDF-1.3",
    "%\xE2\xE3\xCF\xD3",
    "1 0 obj",                            // 15
    "<<",                                 // 23
    "/Author (Desconocido)",              // 26
    "/CreationDate (D:20240305140709)",   // 48
    "/Creator (Desconocido)",             // 81
    "/Producer (oPdf Writer)",            // 104
    "/Title (Desconocido)",               // 128
    "/Subject (Desconocido)",             // 149
    "/Keywords (---)",                    // 172
    ">>",                                 // 188
    "endobj",                             // 191 .. 198
});

TEST_F(PdfTest, EmptyDocumentIsTheSkeletonByteForByte) {
  ASSERT_EQ(kHeaderAndInfo.size(), 198u);
  std::string expected = kHeaderAndInfo + CrLines({
      "4 0 obj",           // 198
      "<< ",               // 206
      "/Font",             // 210
      "<< ",               // 216
      "",                  // 220: the empty font list
      ">>",                // 221
      ">>",                // 224
      "endobj",            // 227
      "2 0 obj",           // 234
      "<<",
      "/Type /Catalog",
      "/Pages 3 0 R",
      ">>",
      "endobj",
      "3 0 obj",           // 283
      "<<",
      "/Type /Pages",
      "/Count 0",
      "/Kids [ ]",
      "/Resources 4 0 R",
      ">>",
      "endobj",
      "xref",              // 353
      "0 5",
      "0000000000 65535 f ",
      "0000000015 00000 n ",
      "0000000234 00000 n ",
      "0000000283 00000 n ",
      "0000000198 00000 n ",
      "trailer",
      "<<",
      "/Size 5",
      "/Root 2 0 R",
      "/Info 1 0 R",
      ">>",
      "startxref",
      "353",
      "%%EOF",
  });

  cPDF memory;
  std::string name;
  ASSERT_TRUE(memory.PDFCreate(name));
  memory.PDFClose();
  EXPECT_EQ(AsString(memory.GetPDFStream()), expected);

  std::string file = WriteChecked("empty.pdf", [](cPDF&) {});
  EXPECT_EQ(file, expected);
}

TEST_F(PdfTest, OnePageWithOneType1FontByteForByte) {
  std::string expected = kHeaderAndInfo + CrLines({
      "5 0 obj",                     // 198
      "<<",                          // 206
      "/Type /Page",                 // 209
      "/Parent 3 0 R",               // 221
      "/MediaBox [ 0 0 595 842]",    // 235
      "/Contents 6 0 R",             // 260
      "/Rotate 0",                   // 276
      ">>",                          // 286
      "endobj",                      // 289
      "6 0 obj",                     // 296
      "<<",                          // 304
      "/Length 7 0 R",               // 307
      ">>",                          // 321
      "stream",                      // 324; content starts at 331
      "q",                           // 2
      "BT",                          // 3
      "/F1 12 Tf",                   // 10
      "1.0000 0.0000 0.0000 1.0000 50.0000 742.0000 Tm",  // 48
      "0.0 0.0 0.0 rg",              // 15
      "<486F6C61> Tj",               // 14
      "ET",                          // 3
      "Q",                           // 2: 97 bytes in all, up to 428
      "endstream",                   // 428
      "endobj",                      // 438
      "7 0 obj",                     // 445
      "97",
      "endobj",
      "8 0 obj",                     // 463
      "<<",
      "/Type /Font",
      "/Subtype /Type1",
      "/Name /F1",
      "/BaseFont /Helvetica",
      ">>",
      "endobj",
      "4 0 obj",                     // 543
      "<< ",
      "/Font",
      "<< ",
      "/F1 8 0 R\r",                 // the list's own CR, then the line's
      ">>",
      ">>",
      "endobj",
      "2 0 obj",                     // 589
      "<<",
      "/Type /Catalog",
      "/Pages 3 0 R",
      ">>",
      "endobj",
      "3 0 obj",                     // 638
      "<<",
      "/Type /Pages",
      "/Count 1",
      "/Kids [ 5 0 R ]",
      "/Resources 4 0 R",
      ">>",
      "endobj",
      "xref",                        // 714
      "0 9",
      "0000000000 65535 f ",
      "0000000015 00000 n ",
      "0000000589 00000 n ",
      "0000000638 00000 n ",
      "0000000543 00000 n ",
      "0000000198 00000 n ",
      "0000000296 00000 n ",
      "0000000445 00000 n ",
      "0000000463 00000 n ",
      "trailer",
      "<<",
      "/Size 9",
      "/Root 2 0 R",
      "/Info 1 0 R",
      ">>",
      "startxref",
      "714",
      "%%EOF",
  });
  std::string bytes = WriteChecked("type1.pdf", [](cPDF& pdf) {
    pdf.NewPage(A4_Vertical);
    pdf.Fonts.Add("F1", "Helvetica", Type1);
    pdf.WText(100, 50, "Hola", "F1", 12);
  });
  EXPECT_EQ(bytes, expected);
}

TEST_F(PdfTest, PageSizesAndMediaBox) {
  struct Row {
    Page_Size size;
    int16_t w, h;
    const char* box;
  };
  for (Row row : {Row{A4_Vertical, 0, 0, "/MediaBox [ 0 0 595 842]"}, Row{A4_Horizontal, 0, 0, "/MediaBox [ 0 0 842 595]"},
                  Row{Folio_Vertical, 0, 0, "/MediaBox [ 0 0 612 792]"},
                  Row{Folio_Horizontal, 0, 0, "/MediaBox [ 0 0 792 612]"},
                  Row{UsarAnchoAlto, 300, 400, "/MediaBox [ 0 0 300 400]"},
                  Row{static_cast<Page_Size>(9), 100, 200, "/MediaBox [ 0 0 100 200]"}}) {
    cPDF pdf;
    ASSERT_TRUE(pdf.PDFCreate());
    pdf.NewPage(row.size, row.w, row.h);
    pdf.PDFClose();
    std::string doc = AsString(pdf.GetPDFStream());
    EXPECT_NE(doc.find(std::string(row.box) + "\r"), std::string::npos) << row.box;
    EXPECT_EQ(XrefProblems(doc), "");
  }
}

TEST_F(PdfTest, EmptyPageHasLengthZeroAndPagesAreListedInOrder) {
  std::string doc = WriteChecked("pages.pdf", [](cPDF& pdf) {
    pdf.NewPage(A4_Vertical);
    pdf.NewPage(A4_Vertical);  // closes the first
    EXPECT_EQ(pdf.PageCount(), 2);
  });
  EXPECT_NE(doc.find("stream\rendstream\rendobj\r7 0 obj\r0\rendobj\r"), std::string::npos);
  EXPECT_NE(doc.find("/Count 2\r/Kids [ 5 0 R 8 0 R ]\r"), std::string::npos);
  EXPECT_NE(doc.find("/Size 11\r"), std::string::npos);
}

TEST_F(PdfTest, PropertiesAreWrittenUnescaped) {
  cPDF pdf;
  pdf.Author = "Ana (jefa)";
  pdf.Title = "Receta \\ 1";
  pdf.CreationDate = {2001, 2, 3, 4, 5, 6};
  ASSERT_TRUE(pdf.PDFCreate());
  pdf.PDFClose();
  std::string doc = AsString(pdf.GetPDFStream());
  EXPECT_NE(doc.find("/Author (Ana (jefa))\r"), std::string::npos);
  EXPECT_NE(doc.find("/Title (Receta \\ 1)\r"), std::string::npos);
  EXPECT_NE(doc.find("/CreationDate (D:20010203040506)\r"), std::string::npos);
}

TEST_F(PdfTest, DefaultsAndCreationDateFromTheClock) {
  cPDF pdf;
  EXPECT_EQ(pdf.Author, "Desconocido");
  EXPECT_EQ(pdf.Creator, "Desconocido");
  EXPECT_EQ(pdf.Producer, "oPdf Writer");
  EXPECT_EQ(pdf.Title, "Desconocido");
  EXPECT_EQ(pdf.Subject, "Desconocido");
  EXPECT_EQ(pdf.Keywords, "---");
  EXPECT_EQ(pdf.TextEncoding, WinAnsiEncoding);
  EXPECT_EQ(pdf.CreationDate.Year, 2024);
  EXPECT_EQ(pdf.CreationDate.Second, 9);
  EXPECT_EQ(pdf.PageCount(), 0);
}

TEST_F(PdfTest, MemoryModeReturnsFileNameAndShowDoesNothing) {
  cPDF pdf;
  pdf.FileName = Path("never.pdf");
  std::string name;
  ASSERT_TRUE(pdf.PDFCreate(name));
  EXPECT_EQ(name, Path("never.pdf"));
  pdf.PDFClose();
  pdf.Show();
  struct stat st {};
  EXPECT_NE(stat(Path("never.pdf").c_str(), &st), 0);
  EXPECT_FALSE(pdf.GetPDFStream().empty());
}

TEST_F(PdfTest, FileModeReplacesAnExistingFileAndHasNoStream) {
  folder_->Write("old.pdf", std::string(100000, 'x'));
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate(Path("old.pdf")));
  pdf.PDFClose();
  EXPECT_TRUE(pdf.GetPDFStream().empty());
  std::string bytes = ReadBinary(Path("old.pdf"));
  EXPECT_EQ(bytes.substr(0, 8), "%PDF-1.3");
  EXPECT_LT(bytes.size(), 1000u);
  struct stat st {};
  ASSERT_EQ(stat(Path("old.pdf").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(PdfTest, CreateFailureReturnsFalseAndLeavesNoFile) {
  cPDF pdf;
  EXPECT_FALSE(pdf.PDFCreate(Path("no/such/folder/x.pdf")));
  struct stat st {};
  EXPECT_NE(stat(Path("no/such/folder/x.pdf").c_str(), &st), 0);
  // A full disk: the start of the document cannot be written and nothing is left behind.
  struct stat full {};
  if (stat("/dev/full", &full) == 0) {
    cPDF onFull;
    EXPECT_FALSE(onFull.PDFCreate(std::string("/dev/full")));
  }
}

TEST_F(PdfTest, AnAbandonedDocumentFreesItsFileButNotALaterOne) {
  auto first = std::make_unique<cPDF>();
  ASSERT_TRUE(first->PDFCreate(Path("first.pdf")));
  first->NewPage();
  first.reset();  // never closed: what was written reaches the file
  EXPECT_EQ(pdf::State().fd, -1);
  EXPECT_EQ(ReadBinary(Path("first.pdf")).substr(0, 8), "%PDF-1.3");

  auto older = std::make_unique<cPDF>();
  ASSERT_TRUE(older->PDFCreate(Path("older.pdf")));
  cPDF newer;  // takes the thread's writer over
  ASSERT_TRUE(newer.PDFCreate(Path("newer.pdf")));
  older.reset();
  newer.NewPage();
  newer.PDFClose();
  EXPECT_EQ(XrefProblems(ReadBinary(Path("newer.pdf"))), "");
}

TEST_F(PdfTest, WCodeWritesARawLine) {
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate());
  pdf.NewPage();
  pdf.WCode("0 0 m 10 10 l S");
  pdf.PDFClose();
  std::string doc = AsString(pdf.GetPDFStream());
  EXPECT_NE(doc.find("stream\r0 0 m 10 10 l S\rendstream\r"), std::string::npos);
  EXPECT_NE(doc.find("7 0 obj\r16\rendobj\r"), std::string::npos);
}

TEST_F(PdfTest, ObjectNumbersSkipTwoToFourAndOverflowIsAnError) {
  cPDF pdf;
  EXPECT_EQ(pdf::NextObjectNumber(), 1);
  EXPECT_EQ(pdf::NextObjectNumber(), 5);
  EXPECT_EQ(pdf::NextObjectNumber(), 6);
  pdf::State().objectCounter = 32766;
  EXPECT_EQ(pdf::NextObjectNumber(), 32767);
  try {
    pdf::NextObjectNumber();
    FAIL() << "no overflow";
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 6);
  }
}

TEST_F(PdfTest, CounterOverflowDuringAPageReachesTheCaller) {
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate());
  pdf::State().objectCounter = 32766;
  EXPECT_THROW(pdf.NewPage(), Error);
}

TEST_F(PdfTest, ColorComponentsAndFormats) {
  EXPECT_EQ(pdf::ColorComponent(0x00332211, 0), 0x11);
  EXPECT_EQ(pdf::ColorComponent(0x00332211, 1), 0x22);
  EXPECT_EQ(pdf::ColorComponent(0x00332211, 2), 0x33);
  EXPECT_EQ(pdf::ColorComponent(0x00332211, 3), 0);
  EXPECT_EQ(pdf::ColorTriple(0x808080), "0.5 0.5 0.5");
  EXPECT_EQ(pdf::ColorTriple(0x0000FF), "1.0 0.0 0.0");
  EXPECT_EQ(pdf::Fixed(-0.00001, 4), "0.0000");
  EXPECT_EQ(pdf::Fixed(792, 2), "792.00");
  EXPECT_EQ(pdf::HexString("é"), "E9");
  EXPECT_EQ(pdf::HexString("€ñ"), "80F1");
  EXPECT_EQ(pdf::HexString("日"), "3F");
}

TEST_F(PdfTest, CollectionsAreKeyedAndRaise) {
  cObjetos objs;
  objs.Add(7, 123);
  EXPECT_EQ(objs.Item("7N").OffSet, 123);
  EXPECT_EQ(objs.Item(1).pdfObj, 7);
  try {
    objs.Item("8N");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 5);
  }
  try {
    objs.Item(2);
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 9);
  }
  cFonts fonts;
  fonts.Add("F1", "Helvetica", Type1);
  try {
    fonts.Add("F1", "Courier", Type1);
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 457);
  }
  EXPECT_EQ(fonts.Count(), 1);
  int n = 0;
  for (cFont& f : fonts) n += f.Name == "F1";
  EXPECT_EQ(n, 1);
  fonts.RemoveAll();
  EXPECT_EQ(fonts.Count(), 0);
}

TEST_F(PdfTest, ShowStartsTheConfiguredViewer) {
  std::string marker = Path("viewed.txt");
  // A viewer that records the file it was given.
  folder_->Write("viewer.sh", "#!/bin/sh\necho \"$1\" > " + marker + "\n");
  chmod(Path("viewer.sh").c_str(), 0700);
  setenv("VELMORA_PDF_VIEWER", Path("viewer.sh").c_str(), 1);
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate(Path("shown.pdf")));
  pdf.PDFClose();
  pdf.Show();
  EXPECT_TRUE(WaitFor([&] { return ReadBinary(marker) == Path("shown.pdf") + "\n"; }, std::chrono::seconds(10)));
}

TEST_F(PdfTest, TwoHundredFiftyPagesInOnePass) {
  std::string doc = WriteChecked("long.pdf", [](cPDF& pdf) {
    pdf.Fonts.Add("F1", "Helvetica", Type1);
    for (int i = 0; i < 250; ++i) {
      pdf.NewPage();
      pdf.WText(100, 50, "Página " + std::to_string(i + 1), "F1", 12);
      // Written pages are on disk, not held: only the pending buffer is in memory.
      EXPECT_LT(pdf::State().pending.size(), 70000u);
      EXPECT_TRUE(pdf::State().memory.empty());
    }
  });
  EXPECT_NE(doc.find("/Count 250\r"), std::string::npos);
}

}  // namespace
}  // namespace velmora::testing

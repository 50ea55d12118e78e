#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "pdf/pdf_fixture.h"

namespace velmora::testing {
namespace {

TEST_F(PdfTest, EmptyDocumentIsTheSkeletonByteForByte) {
  ASSERT_EQ(kHeaderAndInfo.size(), 198u);
  // At 198 the resources ("": the empty font list), 234 the catalog, 283 the pages.
  const std::string expected = kHeaderAndInfo + Resources("") + kCatalog + kNoPages + XrefAndTrailer({15, 234, 283, 198}, 353);
  cPDF memory;
  std::string name;
  ASSERT_TRUE(memory.PDFCreate(name));
  memory.PDFClose();
  EXPECT_EQ(AsString(memory.GetPDFStream()), expected);
  EXPECT_EQ(WriteChecked("empty.pdf", [](cPDF&) {}), expected);
}

TEST_F(PdfTest, OnePageWithOneType1FontByteForByte) {
  const std::string content = CrLines({"q", "BT", "/F1 12 Tf", "1.0000 0.0000 0.0000 1.0000 50.0000 742.0000 Tm",
                                       "0.0 0.0 0.0 rg", "<486F6C61> Tj", "ET", "Q"});
  const std::string expected =
      kHeaderAndInfo + kA4Page5 +                                                             // 198
      ContentStream(6, content, 97) +                                                         // 296, length 445
      Dict(8, {"/Type /Font", "/Subtype /Type1", "/Name /F1", "/BaseFont /Helvetica"}) +      // 463
      Resources("/F1 8 0 R\r") +                                                              // 543
      kCatalog +                                                                              // 589
      Dict(3, {"/Type /Pages", "/Count 1", "/Kids [ 5 0 R ]", "/Resources 4 0 R"}) +          // 638
      XrefAndTrailer({15, 589, 638, 543, 198, 296, 445, 463}, 714);
  EXPECT_EQ(WriteChecked("type1.pdf", [](cPDF& pdf) {
    pdf.NewPage(A4_Vertical), pdf.Fonts.Add("F1", "Helvetica", Type1), pdf.WText(100, 50, "Hola", "F1", 12);
  }), expected);
}

TEST_F(PdfTest, PageSizesAndMediaBox) {
  struct Row {
    Page_Size size;
    int16_t w, h;
    const char* box;
  };
  for (Row row : {Row{A4_Horizontal, 0, 0, "/MediaBox [ 0 0 842 595]"}, Row{Folio_Vertical, 0, 0, "/MediaBox [ 0 0 612 792]"},
                  Row{Folio_Horizontal, 0, 0, "/MediaBox [ 0 0 792 612]"}, Row{UsarAnchoAlto, 300, 400, "/MediaBox [ 0 0 300 400]"},
                  Row{static_cast<Page_Size>(9), 100, 200, "/MediaBox [ 0 0 100 200]"}}) {
    std::string doc = InMemory([&](cPDF& pdf) { pdf.NewPage(row.size, row.w, row.h); });
    EXPECT_NE(doc.find(std::string(row.box) + "\r"), std::string::npos) << row.box;
    EXPECT_EQ(XrefProblems(doc), "");
  }
}

TEST_F(PdfTest, PropertiesAreWrittenUnescaped) {
  cPDF pdf;
  pdf.Author = "Ana (jefa)", pdf.Title = "Receta \\ 1", pdf.CreationDate = {2001, 2, 3, 4, 5, 6};
  ASSERT_TRUE(pdf.PDFCreate());
  pdf.PDFClose();
  const std::string doc = AsString(pdf.GetPDFStream());
  EXPECT_NE(doc.find("/Author (Ana (jefa))\r"), std::string::npos);
  EXPECT_NE(doc.find("/Title (Receta \\ 1)\r"), std::string::npos);
  EXPECT_NE(doc.find("/CreationDate (D:20010203040506)\r"), std::string::npos);
}

// Memory mode hands back FileName and shows nothing; file mode replaces a file, private.
TEST_F(PdfTest, MemoryAndFileModes) {
  cPDF pdf;
  pdf.FileName = Path("never.pdf");
  std::string name;
  ASSERT_TRUE(pdf.PDFCreate(name));
  EXPECT_EQ(name, Path("never.pdf"));
  pdf.PDFClose();
  EXPECT_FALSE(pdf.Show().has_value());
  EXPECT_FALSE(pdf.GetPDFStream().empty());
  struct stat st {};
  EXPECT_NE(stat(Path("never.pdf").c_str(), &st), 0);
  folder_->Write("old.pdf", std::string(100000, 'x'));
  ASSERT_TRUE(pdf.PDFCreate(Path("old.pdf")));
  pdf.PDFClose();
  EXPECT_TRUE(pdf.GetPDFStream().empty());
  EXPECT_EQ(ReadFile(Path("old.pdf")).substr(0, 8), "%PDF-1.3");
  ASSERT_EQ(stat(Path("old.pdf").c_str(), &st), 0);
  EXPECT_LT(st.st_size, 1000);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(PdfTest, CreateFailureReturnsFalseAndLeavesNoFile) {
  cPDF pdf;
  EXPECT_FALSE(pdf.PDFCreate(Path("no/such/folder/x.pdf")));
  struct stat st {};
  EXPECT_NE(stat(Path("no/such/folder/x.pdf").c_str(), &st), 0);
  // The start of the document cannot be written (a file size limit stands in for a full disk):
  // a file the writer created goes, one it found (even empty) stays, as does a pipe nobody reads.
  folder_->Write("found.pdf", "");
  ASSERT_EQ(mkfifo(Path("pipe.pdf").c_str(), 0600), 0);
  rlimit limit{}, small{};
  getrlimit(RLIMIT_FSIZE, &limit);
  small = {100, limit.rlim_max};
  auto oldHandler = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  for (const char* name : {"new.pdf", "found.pdf", "pipe.pdf"}) EXPECT_FALSE(cPDF().PDFCreate(Path(name))) << name;
  setrlimit(RLIMIT_FSIZE, &limit);
  signal(SIGXFSZ, oldHandler);
  EXPECT_NE(stat(Path("new.pdf").c_str(), &st), 0);
  EXPECT_EQ(stat(Path("found.pdf").c_str(), &st), 0);
  EXPECT_EQ(stat(Path("pipe.pdf").c_str(), &st), 0);
}

TEST_F(PdfTest, AnAbandonedDocumentFreesItsFileButNotALaterOne) {
  auto first = std::make_unique<cPDF>();
  ASSERT_TRUE(first->PDFCreate(Path("first.pdf")));
  first->NewPage();
  first.reset();  // never closed: what was written reaches the file
  EXPECT_EQ(pdf::State().fd, -1);
  EXPECT_EQ(ReadFile(Path("first.pdf")).substr(0, 8), "%PDF-1.3");

  auto older = std::make_unique<cPDF>();
  ASSERT_TRUE(older->PDFCreate(Path("older.pdf")));
  cPDF newer;  // takes the thread's writer over: the older one's writes are refused
  EXPECT_EQ(ErrorNumber([&] { older->NewPage(); }), 5);
  ASSERT_TRUE(newer.PDFCreate(Path("newer.pdf")));
  for (auto write : std::vector<std::function<void()>>{[&] { older->WCode("x"); }, [&] { older->LineStroke(); },
                                                       [&] { older->PDFClose(); }})
    EXPECT_EQ(ErrorNumber(write), 5);
  older.reset();
  newer.NewPage();
  newer.PDFClose();
  EXPECT_EQ(XrefProblems(ReadFile(Path("newer.pdf"))), "");
}

TEST_F(PdfTest, ObjectNumbersSkipTwoToFourAndOverflowIsAnError) {
  cPDF pdf;
  EXPECT_EQ(pdf::NextObjectNumber(), 1);
  EXPECT_EQ(pdf::NextObjectNumber(), 5);
  pdf::State().objectCounter = 32766;
  EXPECT_EQ(pdf::NextObjectNumber(), 32767);
  EXPECT_EQ(ErrorNumber([] { pdf::NextObjectNumber(); }), 6);
  // The same overflow met inside a page reaches the caller.
  ASSERT_TRUE(pdf.PDFCreate());
  pdf::State().objectCounter = 32766;
  EXPECT_EQ(ErrorNumber([&] { pdf.NewPage(); }), 6);
}

TEST_F(PdfTest, NumberAndTextFormatsAtTheirEdges) {
  EXPECT_EQ(pdf::Fixed(-0.00001, 4), "0.0000");  // no "-0.0000"
  EXPECT_EQ(pdf::HexString("日"), "3F");         // outside Windows-1252: "?"
}

// The viewer by its path or by a bare name on PATH; one that is missing comes back as 53 and is
// never raised.
TEST_F(PdfTest, ShowStartsTheConfiguredViewer) {
  std::string marker = Path("viewed.txt");
  folder_->Write("viewer.sh", "#!/bin/sh\necho \"$1\" >> " + marker + "\n");
  chmod(Path("viewer.sh").c_str(), 0700);
  const std::string path = getenv("PATH");
  setenv("PATH", ("/nonexistent:" + folder_->Root()).c_str(), 1);
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate(Path("shown.pdf")));
  pdf.PDFClose();
  for (const std::string& viewer : {Path("viewer.sh"), std::string("viewer.sh"), std::string("no-such-viewer")}) {
    setenv("VELMORA_PDF_VIEWER", viewer.c_str(), 1);
    const std::optional<Error> failure = pdf.Show();
    EXPECT_EQ(failure ? failure->Number : 0, viewer == "no-such-viewer" ? 53 : 0) << viewer;
    EXPECT_EQ(failure ? failure->Description : "", viewer == "no-such-viewer" ? "No se encontró el archivo" : "");
  }
  EXPECT_TRUE(WaitFor([&] { return ReadFile(marker) == Path("shown.pdf") + "\n" + Path("shown.pdf") + "\n"; }, std::chrono::seconds(10)));
  setenv("PATH", path.c_str(), 1);
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

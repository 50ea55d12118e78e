#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "pdf/pdf_writer.h"
#include "support/pdf_checks.h"
#include "support/test_support.h"
#include "velmora/pdf.h"

namespace velmora::testing {

// The open page's content so far.
inline std::string Content(const cPDF& pdf) {
  return AsString(pdf.GetPDFStream()).substr(static_cast<size_t>(pdf::State().streamStart));
}

// A whole document written to memory through `build`.
inline std::string InMemory(const std::function<void(cPDF&)>& build) {
  cPDF pdf;
  EXPECT_TRUE(pdf.PDFCreate());
  build(pdf);
  pdf.PDFClose();
  return AsString(pdf.GetPDFStream());
}

// Pieces of the golden documents. The expected bytes stay literal in each test (offsets too);
// these only spell out the skeleton every object shares, so a test shows what sets it apart.
inline std::string Obj(int n, std::vector<std::string> lines) {
  lines.insert(lines.begin(), std::to_string(n) + " 0 obj");
  lines.push_back("endobj");
  return CrLines(lines);
}
inline std::string Dict(int n, std::vector<std::string> entries) {
  entries.insert(entries.begin(), "<<");
  entries.push_back(">>");
  return Obj(n, std::move(entries));
}
// A page's content stream and the object holding its length.
inline std::string ContentStream(int n, const std::string& content, int length) {
  return CrLines({std::to_string(n) + " 0 obj", "<<", "/Length " + std::to_string(n + 1) + " 0 R", ">>", "stream"}) +
         content + CrLines({"endstream", "endobj"}) + Obj(n + 1, {std::to_string(length)});
}
// The resource dictionary (object 4); `fonts` carries its own CR per entry.
inline std::string Resources(const std::string& fonts, const std::vector<std::string>& more = {}) {
  std::vector<std::string> lines{"<< ", "/Font", "<< ", fonts, ">>"};
  lines.insert(lines.end(), more.begin(), more.end());
  lines.push_back(">>");
  return Obj(4, lines);
}
inline std::string XrefAndTrailer(const std::vector<int>& offsets, int startxref) {
  const std::string size = std::to_string(offsets.size() + 1);
  std::string out = CrLines({"xref", "0 " + size, "0000000000 65535 f "});
  for (int offset : offsets) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "%010d 00000 n \r", offset);
    out += entry;
  }
  return out + CrLines({"trailer", "<<", "/Size " + size, "/Root 2 0 R", "/Info 1 0 R", ">>", "startxref",
                        std::to_string(startxref), "%%EOF"});
}
// Header and Info object (the clock is pinned): the Info object spans bytes 15 to 198.
inline const std::string kHeaderAndInfo =
    CrLines({"%PDF-1.3", "%\xE2\xE3\xCF\xD3"}) +
    Dict(1, {"/Author (Desconocido)", "/CreationDate (D:20240305140709)", "/Creator (Desconocido)",
             "/Producer (oPdf Writer)", "/Title (Desconocido)", "/Subject (Desconocido)", "/Keywords (---)"});
inline const std::string kCatalog = Dict(2, {"/Type /Catalog", "/Pages 3 0 R"});
inline const std::string kNoPages = Dict(3, {"/Type /Pages", "/Count 0", "/Kids [ ]", "/Resources 4 0 R"});
inline const std::string kA4Page5 =
    Dict(5, {"/Type /Page", "/Parent 3 0 R", "/MediaBox [ 0 0 595 842]", "/Contents 6 0 R", "/Rotate 0"});

inline std::vector<uint8_t> SourceBytes(const std::string& relative) {
  const std::string s = ReadFile(std::string(VELMORA_SOURCE_DIR) + "/" + relative);
  return {s.begin(), s.end()};
}

// Each test gets its own runtime folder, a pinned clock and viewing switched off.
class PdfTest : public ::testing::Test {
 protected:
  void SetUp() override { folder_ = std::make_unique<RuntimeFolder>(), setenv("VELMORA_PDF_VIEWER", "", 1); }
  void TearDown() override { folder_.reset(); }

  std::string Path(const std::string& name) const { return folder_->Path(name); }

  // Writes a document to a file through `build` (between PDFCreate and PDFClose), then holds it
  // to the checks every written document must pass. Returns the bytes.
  std::string WriteChecked(const std::string& name, const std::function<void(cPDF&)>& build) {
    std::string path = Path(name);
    {
      cPDF pdf;
      EXPECT_TRUE(pdf.PDFCreate(path));
      build(pdf);
      pdf.PDFClose();
    }
    std::string bytes = ReadFile(path);
    EXPECT_EQ(XrefProblems(bytes), "") << name;
    EXPECT_EQ(QpdfProblems(path), "") << name;
    // A document without pages has nothing to render (pdftoppm refuses it by design).
    EXPECT_EQ(bytes.find("/Count 0\r/Kids [ ]") == std::string::npos ? RenderProblems(path) : "", "") << name;
    return bytes;
  }

  FixedClock clock_{{2024, 3, 5, 14, 7, 9}};  // the CreationDate below
  std::unique_ptr<RuntimeFolder> folder_;
};

// A memory document with an A4 page open and Helvetica as "F1".
class PageTest : public PdfTest {
 protected:
  void SetUp() override {
    PdfTest::SetUp();
    ASSERT_TRUE(pdf_.PDFCreate());
    pdf_.Fonts.Add("F1", "Helvetica", Type1);
    pdf_.NewPage(A4_Vertical);
  }
  cPDF pdf_;
};

}  // namespace velmora::testing

#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <functional>
#include <memory>
#include <string>

#include "pdf_support.h"
#include "support/runtime_folder.h"
#include "velmora/pdf.h"

namespace velmora::testing {

// Each test gets its own runtime folder, a pinned clock and viewing switched off.
class PdfTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::make_unique<RuntimeFolder>();
    setenv("VELMORA_PDF_VIEWER", "", 1);
  }
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
    std::string bytes = ReadBinary(path);
    EXPECT_EQ(XrefProblems(bytes), "") << name;
    EXPECT_EQ(QpdfProblems(path), "") << name;
    // A document without pages has nothing to render (pdftoppm refuses it by design).
    if (bytes.find("/Count 0\r/Kids [ ]") == std::string::npos) {
      EXPECT_EQ(RenderProblems(path), "") << name;
    }
    return bytes;
  }

  FixedClock clock_;
  std::unique_ptr<RuntimeFolder> folder_;
};

}  // namespace velmora::testing

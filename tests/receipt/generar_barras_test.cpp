#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "receipt/print_spooler.h"
#include "support/pdf_checks.h"
#include "support/test_support.h"
#include "velmora/barcode.h"
#include "velmora/pdf.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using testing::RunProgram;

class GenerarBarrasTest : public ::testing::Test {
 protected:
  void TearDown() override { unsetenv("VELMORA_PRINTER_PROGRAM"); }
  testing::RuntimeFolder folder_;
};

TEST_F(GenerarBarrasTest, DrawsABarCodeThatReadsBack) {
  if (!fs::exists("/usr/bin/pdftoppm") || RunProgram({"/usr/bin/python3", "-c", "import zxingcpp, PIL"}).exitCode != 0)
    GTEST_SKIP() << "poppler-utils or python3-zxing-cpp missing";
  const std::string file = folder_.Path("bars.pdf");
  BarCode128 bc;
  {
    cPDF pdf;
    ASSERT_TRUE(pdf.PDFCreate(file));
    EXPECT_FALSE(bc.GenerarBarras("RX-0001234", pdf)) << "no page open yet";
    pdf.NewPage(A4_Vertical);
    EXPECT_TRUE(bc.GenerarBarras("RX-0001234", pdf, cC128_B, 50, 50, 10, 0, true));
    pdf.PDFClose();
  }
  ASSERT_EQ(RunProgram({"/usr/bin/pdftoppm", "-r", "300", "-gray", "-png", "-singlefile", file, folder_.Path("bars")}).exitCode, 0);
  // Exit status 0 only when the page holds exactly that Code 128 text.
  EXPECT_EQ(RunProgram({"/usr/bin/python3", "-c",
                        "import sys, zxingcpp; from PIL import Image\n"
                        "r = zxingcpp.read_barcode(Image.open(sys.argv[1]), formats=zxingcpp.Code128)\n"
                        "sys.exit(0 if r and r.text == 'RX-0001234' else 1)",
                        folder_.Path("bars.png")})
                .exitCode,
            0);
}

// The spooler as a program on PATH or by its path; one that fails, is missing or hangs is a
// failed print, and a hung one does not hold the till past the wait.
TEST_F(GenerarBarrasTest, PrinterGetsAOnePageDocument) {
  if (!fs::exists("/usr/bin/pdfinfo")) GTEST_SKIP() << "poppler-utils missing";
  folder_.Write("hung-lp", "#!/bin/sh\nexec sleep 600\n");
  chmod(folder_.Path("hung-lp").c_str(), 0700);
  const std::string path = getenv("PATH");
  setenv("PATH", (folder_.Root() + ":/usr/bin:/bin").c_str(), 1);
  BarCode128 bc;
  // pdfinfo stands in for the spooler: it succeeds only on a readable PDF.
  for (const auto& [program, printed] : {std::pair{"/usr/bin/pdfinfo", true}, {"pdfinfo", true}, {"/bin/false", false},
                                         {"/nonexistent/lp", false}, {"no-such-lp", false}}) {
    setenv("VELMORA_PRINTER_PROGRAM", program, 1);
    EXPECT_EQ(bc.GenerarBarrasImpresora("RX-0001234"), printed) << program;
  }
  setenv("VELMORA_PRINTER_PROGRAM", "hung-lp", 1);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(receipt::SpoolToPrinter(folder_.Path("any.pdf"), std::chrono::milliseconds(300)));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  setenv("PATH", path.c_str(), 1);
}

}  // namespace
}  // namespace velmora

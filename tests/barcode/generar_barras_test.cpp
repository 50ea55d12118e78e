#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/runtime_folder.h"
#include "velmora/barcode.h"
#include "velmora/pdf.h"

extern char** environ;

namespace velmora {
namespace {

namespace fs = std::filesystem;

int RunProgram(std::vector<std::string> args) {
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return -1;
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class GenerarBarrasTest : public ::testing::Test {
 protected:
  void TearDown() override { unsetenv("VELMORA_PRINTER_PROGRAM"); }
  testing::RuntimeFolder folder_;
};

TEST_F(GenerarBarrasTest, DrawsABarCodeThatReadsBack) {
  if (!fs::exists("/usr/bin/pdftoppm") ||
      RunProgram({"/usr/bin/python3", "-c", "import zxingcpp, PIL"}) != 0)
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
  ASSERT_EQ(RunProgram({"/usr/bin/pdftoppm", "-r", "300", "-gray", "-png", "-singlefile", file, folder_.Path("bars")}), 0);
  // Exit status 0 only when the page holds exactly that Code 128 text.
  EXPECT_EQ(RunProgram({"/usr/bin/python3", "-c",
                        "import sys, zxingcpp; from PIL import Image\n"
                        "r = zxingcpp.read_barcode(Image.open(sys.argv[1]), formats=zxingcpp.Code128)\n"
                        "sys.exit(0 if r and r.text == 'RX-0001234' else 1)",
                        folder_.Path("bars.png")}),
            0);
}

TEST_F(GenerarBarrasTest, PrinterGetsAOnePageDocument) {
  if (!fs::exists("/usr/bin/pdfinfo")) GTEST_SKIP() << "poppler-utils missing";
  BarCode128 bc;
  // pdfinfo stands in for the spooler: it succeeds only on a readable PDF.
  setenv("VELMORA_PRINTER_PROGRAM", "/usr/bin/pdfinfo", 1);
  EXPECT_TRUE(bc.GenerarBarrasImpresora("RX-0001234"));
  setenv("VELMORA_PRINTER_PROGRAM", "/bin/false", 1);
  EXPECT_FALSE(bc.GenerarBarrasImpresora("RX-0001234"));
  setenv("VELMORA_PRINTER_PROGRAM", "/nonexistent/lp", 1);
  EXPECT_FALSE(bc.GenerarBarrasImpresora("RX-0001234"));
}

}  // namespace
}  // namespace velmora

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "core/context.h"
#include "support/pdf_checks.h"
#include "receipt/data_text.h"
#include "support/test_support.h"
#include "velmora/barcode.h"
#include "velmora/error.h"
#include "velmora/messages.h"
#include "velmora/pdf.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using testing::ProgramResult;
using testing::RunProgram;

std::string Hex(const std::string& bytes) {
  static const char* digits = "0123456789abcdef";
  std::string hex;
  for (const unsigned char c : bytes) hex += {digits[c >> 4], digits[c & 15]};
  return hex;
}

bool ToolsPresent() {
  for (const char* tool : {"/usr/bin/qpdf", "/usr/bin/pdftoppm", "/usr/bin/pdffonts", "/usr/bin/python3"})
    if (!fs::exists(tool)) return false;
  return RunProgram({"/usr/bin/python3", "-c", "import zxingcpp, PIL"}).exitCode == 0;
}

class ReceiptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("VELMORA_PDF_VIEWER", "", 1);
    core::ThreadContext().MessageLog.Flags = core::ThreadContext().TraceLog.Flags = 0;
  }

  CPeticionDispensacion Request(const std::string& id, const std::string& tis, const std::string& date,
                                RegimenRecetaEnum regimen) {
    CPeticionDispensacion r;
    r.IDPrescripcion = id, r.Tis = tis, r.FechaPrescripcion = date, r.RegimenReceta = regimen;
    r.NombrePaciente = "María Pérez Ibáñez", r.CodigoColegiadoPrescriptor = "2812345", r.CodigoDispensado = "654321";
    r.EnvasesDispensados = "1", r.NombreMedicamento = "Paracetamol 1 g 40 comprimidos", r.ClaveUsuario = "clave";
    r.IdUsuario = "U01", r.Idioma = "es", r.FechaDispensacion = "03/02/2024", r.IdFarmacia = "F001";
    r.IdFarmaceutico = "FAR1", r.Importe = "3,50", r.ImporteAportacion = "1,20", r.IdProvincia = "48";
    return r;
  }

  void Add(CListadoDispensaciones& batch, CPeticionDispensacion request) { ASSERT_TRUE(batch.aniadirDispensacion(request)); }

  std::string Pdf() const { return folder_.Path("velmora.pdf"); }

  using Key = std::tuple<int, std::string, int>;  // page, kind, slot
  struct Box {
    double left, top, right, bottom;  // points from the page's top-left corner
  };

  // Key -> hex of the decoded bytes ("-": nothing decoded); `boxes` receives where each was.
  std::map<Key, std::string> Decode(std::map<Key, Box>* boxes = nullptr) {
    const ProgramResult render = RunProgram({"/usr/bin/pdftoppm", "-r", "300", "-gray", "-png", Pdf(), folder_.Path("page")});
    EXPECT_EQ(render.exitCode, 0) << render.output;
    std::vector<std::string> args = {"/usr/bin/python3", std::string(VELMORA_SOURCE_DIR) + "/tests/receipt/decode_receipt.py"};
    for (int page = 1; fs::exists(folder_.Path("page-" + std::to_string(page) + ".png")); ++page)
      args.push_back(folder_.Path("page-" + std::to_string(page) + ".png"));
    const ProgramResult decode = RunProgram(args);
    EXPECT_EQ(decode.exitCode, 0) << decode.output;
    std::map<Key, std::string> found;
    std::istringstream lines(decode.output);
    int page = 0, slot = 0;
    std::string kind, hex;
    Box box{};
    while (lines >> page >> kind >> slot >> hex >> box.left >> box.top >> box.right >> box.bottom) {
      found[{page, kind, slot}] = hex;
      if (boxes) (*boxes)[{page, kind, slot}] = box;
    }
    return found;
  }

  void ExpectCleanPdf() {
    EXPECT_EQ(testing::QpdfProblems(Pdf()), "");
    const ProgramResult fonts = RunProgram({"/usr/bin/pdffonts", Pdf()});
    bool embedded = false;
    std::istringstream fontLines(fonts.output);
    for (std::string line; std::getline(fontLines, line);)
      if (line.rfind("CodePDF417", 0) == 0) embedded = line.find(" yes ") != std::string::npos;
    EXPECT_TRUE(embedded) << fonts.output;
  }

  testing::RuntimeFolder folder_;
};

// Nine requests (three pages) with identifiers of 60 characters, as the generated ones run, and
// data texts carried over for seven requests: every symbol decodes to its data, each page has its
// header, and no symbol overlaps another or leaves the page.
TEST_F(ReceiptTest, NineLongRequestsMakeThreePagesOfDecodableSymbolsApart) {
  if (!ToolsPresent()) GTEST_SKIP() << "qpdf, poppler-utils or python3-zxing-cpp missing";
  const std::string T = "ABC1234";
  const RegimenRecetaEnum regimens[] = {Trabajador, Pensionista, RegimenVacio};
  const char* letters = "TPO";
  CListadoDispensaciones batch;
  std::vector<std::string> data, bars;
  std::string D;
  for (int i = 0; i < 9; ++i) {
    const std::string id = "ITP00012348000123U0001BIAS123456789012ABCDEF2402031205" + std::to_string(10 + i) + "XYZW";
    ASSERT_EQ(id.size(), 60u);
    CPeticionDispensacion r = Request(id, T, i == 0 || i == 8 ? "2024011" + std::to_string(i) : "", regimens[i % 3]);
    receipt::ExtendDataText(D, r, T);
    data.push_back(D);
    bars.push_back(id + letters[i % 3]);
    Add(batch, r);
  }
  EXPECT_GT(data[7].size(), 700u);

  cPDF pdf;
  pdf.mostrarPDF(batch);
  ASSERT_TRUE(fs::exists(Pdf()));
  ExpectCleanPdf();
  // The font was written beside the library and installed for the user.
  EXPECT_TRUE(fs::exists(folder_.Path("pdffont.ttf")));
  EXPECT_TRUE(fs::exists(jrInstalarFuente().DirectorioFuentesSistema() + "/pdffont.ttf"));

  std::map<Key, Box> boxes;
  const auto found = Decode(&boxes);
  std::map<Key, std::string> expected;
  for (int page = 1; page <= 3; ++page) expected[{page, "header", 0}] = Hex(T);
  for (size_t i = 0; i < 9; ++i) {
    expected[{1 + static_cast<int>(i) / 4, "pdf417", static_cast<int>(i) % 4}] = Hex(data[i]);
    expected[{1 + static_cast<int>(i) / 4, "code128", static_cast<int>(i) % 4}] = Hex(bars[i]);
  }
  EXPECT_EQ(found, expected);
  for (const auto& [key, box] : boxes) {
    EXPECT_TRUE(box.left >= 0 && box.top >= 0 && box.right <= 595 && box.bottom <= 842) << std::get<1>(key);
    for (const auto& [other, with] : boxes) {
      const bool overlap = box.left < with.right && with.left < box.right && box.top < with.bottom && with.top < box.bottom;
      EXPECT_FALSE(other < key && std::get<0>(other) == std::get<0>(key) && overlap)
          << std::get<1>(key) << std::get<2>(key) << " and " << std::get<1>(other) << std::get<2>(other);
    }
  }
}

// With the font installed already it is neither written nor installed again. The one request
// carries a data text too long for a symbol: its slot is left without one.
TEST_F(ReceiptTest, AnInstalledFontStaysAndAnOverlongDataTextLeavesItsSlotEmpty) {
  const std::string fonts = jrInstalarFuente().DirectorioFuentesSistema();
  fs::create_directories(fonts);
  fs::copy_file(std::string(VELMORA_SOURCE_DIR) + "/resources/code_pdf417.ttf", fonts + "/pdffont.ttf",
                fs::copy_options::overwrite_existing);
  CListadoDispensaciones batch;
  CPeticionDispensacion r = Request("RX0001", "1234567", "20240115", Trabajador);
  r.CodigoColegiadoPrescriptor = std::string(3000, 'x');
  Add(batch, r);
  cPDF pdf;
  pdf.mostrarPDF(batch);
  EXPECT_FALSE(fs::exists(folder_.Path("pdffont.ttf")));
  const std::string content = folder_.Read("velmora.pdf");
  EXPECT_NE(content.find("%%EOF"), std::string::npos);
  EXPECT_EQ(content.find("/F5 8 Tf"), std::string::npos);
}

TEST_F(ReceiptTest, AnEmptyBatchPrintsTheHeaderPageAlone) {
  CListadoDispensaciones batch;
  cPDF pdf;
  pdf.mostrarPDF(batch);
  ASSERT_TRUE(fs::exists(Pdf()));
  EXPECT_EQ(pdf.PageCount(), 1);
  if (ToolsPresent()) ExpectCleanPdf();
}

}  // namespace
}  // namespace velmora

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "core/context.h"
#include "pdf/pdf_support.h"
#include "support/runtime_folder.h"
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
  for (const unsigned char c : bytes) {
    hex += digits[c >> 4];
    hex += digits[c & 15];
  }
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
    core::ThreadContext().MessageLog.Flags = 0;
    core::ThreadContext().TraceLog.Flags = 0;
  }

  CPeticionDispensacion Request(const std::string& id, const std::string& tis, const std::string& date,
                                RegimenRecetaEnum regimen) {
    CPeticionDispensacion r;
    r.IDPrescripcion = id;
    r.Tis = tis;
    r.NombrePaciente = "María Pérez Ibáñez";
    r.FechaPrescripcion = date;
    r.CodigoColegiadoPrescriptor = "2812345";
    r.CodigoDispensado = "654321";
    r.EnvasesDispensados = "1";
    r.NombreMedicamento = "Paracetamol 1 g 40 comprimidos";
    r.RegimenReceta = regimen;
    r.ClaveUsuario = "clave";
    r.IdUsuario = "U01";
    r.Idioma = "es";
    r.FechaDispensacion = "03/02/2024";
    r.IdFarmacia = "F001";
    r.IdFarmaceutico = "FAR1";
    r.Importe = "3,50";
    r.ImporteAportacion = "1,20";
    r.IdProvincia = "48";
    return r;
  }

  void Add(CListadoDispensaciones& batch, CPeticionDispensacion request) {
    ASSERT_TRUE(batch.aniadirDispensacion(request));
  }

  std::string Pdf() const { return folder_.Path("velmora.pdf"); }

  // page, kind, slot -> hex of the decoded bytes ("-": nothing decoded).
  std::map<std::tuple<int, std::string, int>, std::string> Decode() {
    const ProgramResult render = RunProgram({"/usr/bin/pdftoppm", "-r", "300", "-gray", "-png", Pdf(), folder_.Path("page")});
    EXPECT_EQ(render.exitCode, 0) << render.output;
    std::vector<std::string> args = {"/usr/bin/python3", std::string(VELMORA_SOURCE_DIR) + "/tests/receipt/decode_receipt.py"};
    for (int page = 1; fs::exists(folder_.Path("page-" + std::to_string(page) + ".png")); ++page)
      args.push_back(folder_.Path("page-" + std::to_string(page) + ".png"));
    const ProgramResult decode = RunProgram(args);
    EXPECT_EQ(decode.exitCode, 0) << decode.output;
    std::map<std::tuple<int, std::string, int>, std::string> found;
    std::istringstream lines(decode.output);
    int page = 0, slot = 0;
    std::string kind, hex;
    while (lines >> page >> kind >> slot >> hex) found[{page, kind, slot}] = hex;
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

const std::string kZeros = "|00000000000000000000000000000000|000000|2812345|000000|000000|0000000000|654321|1|";

TEST_F(ReceiptTest, FiveRequestsMakeTwoPagesOfDecodableSymbols) {
  if (!ToolsPresent()) GTEST_SKIP() << "qpdf, poppler-utils or python3-zxing-cpp missing";
  CListadoDispensaciones batch;
  const std::string T = "ABC1234";  // 7 characters: written as "00" + T
  Add(batch, Request("RX0001", T, "20240115", Trabajador));
  Add(batch, Request("RX0002", "other", "20240116", Pensionista));
  Add(batch, Request("RX0003", T, "", RegimenVacio));  // carries the text of RX0002 on
  Add(batch, Request("RX0004", T, "20240118", Trabajador));
  Add(batch, Request("RX0005", T, "20240119", Pensionista));

  cPDF pdf;
  pdf.mostrarPDF(batch);
  ASSERT_TRUE(fs::exists(Pdf()));
  ExpectCleanPdf();
  // The font was written beside the library and installed for the user.
  EXPECT_TRUE(fs::exists(folder_.Path("pdffont.ttf")));
  EXPECT_TRUE(fs::exists(jrInstalarFuente().DirectorioFuentesSistema() + "/pdffont.ttf"));

  const std::string d2 = "20240116" + kZeros + "00" + T;
  const std::vector<std::string> data = {"20240115" + kZeros + "00" + T, d2,
                                         d2 + "|00000000" + kZeros + "00" + T,
                                         "20240118" + kZeros + "00" + T, "20240119" + kZeros + "00" + T};
  const std::vector<std::string> bars = {"RX0001T", "RX0002P", "RX0003O", "RX0004T", "RX0005P"};
  const auto found = Decode();
  std::map<std::tuple<int, std::string, int>, std::string> expected;
  for (int page = 1; page <= 2; ++page) expected[{page, "header", 0}] = Hex(T);
  for (int i = 0; i < 5; ++i) {
    expected[{1 + i / 4, "pdf417", i % 4}] = Hex(data[static_cast<size_t>(i)]);
    expected[{1 + i / 4, "code128", i % 4}] = Hex(bars[static_cast<size_t>(i)]);
  }
  EXPECT_EQ(found, expected);
}

TEST_F(ReceiptTest, EmptyFieldsAndALongHealthCardStillPrint) {
  if (!ToolsPresent()) GTEST_SKIP() << "qpdf, poppler-utils or python3-zxing-cpp missing";
  CListadoDispensaciones batch;
  CPeticionDispensacion r = Request("RX0009", "ABCD12345678", "", Pensionista);
  r.CodigoColegiadoPrescriptor.clear();
  r.CodigoDispensado.clear();
  r.NombreMedicamento.clear();
  r.NombrePaciente.clear();
  Add(batch, r);

  cPDF pdf;
  pdf.mostrarPDF(batch);
  ExpectCleanPdf();
  const auto found = Decode();
  using Key = std::tuple<int, std::string, int>;
  EXPECT_EQ(found.at(Key{1, "pdf417", 0}),
            Hex("|00000000|00000000000000000000000000000000|000000|0000000000|000000|000000|0000000000"
                "|000000|1|ABCD12345678"));
  EXPECT_EQ(found.at(Key{1, "code128", 0}), Hex("RX0009P"));
  EXPECT_EQ(found.at(Key{1, "header", 0}), Hex("ABCD12345678"));
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

TEST_F(ReceiptTest, NoFontsFolderIsTheInstallersError) {
  const std::string data = getenv("XDG_DATA_HOME"), home = getenv("HOME") ? getenv("HOME") : "";
  setenv("XDG_DATA_HOME", "", 1);
  setenv("HOME", "", 1);
  CListadoDispensaciones batch;
  Add(batch, Request("RX0001", "1234567", "20240115", Trabajador));
  cPDF pdf;
  int32_t number = 0;
  try {
    pdf.mostrarPDF(batch);
  } catch (const Error& e) {
    number = e.Number;
  }
  setenv("XDG_DATA_HOME", data.c_str(), 1);
  setenv("HOME", home.c_str(), 1);
  EXPECT_EQ(number, static_cast<int32_t>(0x80040001u));
  EXPECT_FALSE(fs::exists(Pdf()));
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

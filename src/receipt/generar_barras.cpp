// The members of BarCode128 that put a symbol on a page or on paper. The class is the barcode
// room's (include/velmora/barcode.h), but drawing and printing are the receipt's: the encoder
// itself knows modules, not the PDF writer.
#include "velmora/barcode.h"

#include <stdlib.h>

#include <algorithm>
#include <cmath>

#include "barcode/modules.h"
#include "os/file_io.h"
#include "receipt/draw_bars.h"
#include "receipt/print_spooler.h"
#include "velmora/pdf.h"

namespace velmora {
namespace {

constexpr double kPointsPerMil = 72.0 / 1000.0;
constexpr double kMargin = 20;
// Font for the text under the bars when the caller names none.
constexpr const char* kCaptionFont = "FC128";

// Removes the temporary print file however the drawing ends.
struct TemporaryFile {
  std::string path;
  ~TemporaryFile() {
    if (!path.empty()) os::RemoveFile(path);
  }
};

}  // namespace

bool BarCode128::GenerarBarras(const std::string& Texto, cPDF& DC, int16_t Codificación, float X,
                               float Y, float Densidad, float Alto, bool ImprimirTexto,
                               const std::string& fuente, int16_t Tamaño) {
  if (!DC.PageOpen()) return false;
  const std::string pattern = Barras(Texto, Codificación);
  // Densidad is the module width in thousandths of an inch, the usual way to state a bar
  // code's density; 15 gives 1.08 pt modules.
  const double module = (Densidad > 0 ? Densidad : 15.0) * kPointsPerMil;
  const double left = X < 0 ? kMargin : X;
  const double top = Y < 0 ? kMargin : Y;
  const double width = barcode::PatternModules(pattern) * module;
  const double height = Alto > 0 ? Alto : std::max(18.0, 0.15 * width);
  receipt::DrawCode128Bars(DC, pattern, top, left, module, height);
  if (ImprimirTexto) {
    std::string font = fuente;
    if (font.empty()) {
      font = kCaptionFont;
      if (!DC.Fonts.Find(font)) DC.Fonts.Add(font, "Helvetica", Type1);
    }
    const int16_t size = Tamaño > 0 ? Tamaño : 4;
    const auto captionTop = static_cast<int16_t>(std::lround(top + height + size));
    DC.WText(captionTop, static_cast<int16_t>(std::lround(left)), Texto, font, size);
  }
  return true;
}

bool BarCode128::GenerarBarrasImpresora(const std::string& Texto, int16_t Codificación, float X,
                                        float Y, float Densidad, float Alto, bool ImprimirTexto,
                                        const std::string& fuente, int16_t Tamaño) {
  const char* tmp = getenv("TMPDIR");
  std::string name = os::CreateUniqueFile(std::string(tmp && *tmp ? tmp : "/tmp") + "/velmora-c128-", ".pdf");
  if (name.empty()) return false;
  TemporaryFile file{name};

  cPDF pdf;
  if (!pdf.PDFCreate(name)) return false;
  pdf.NewPage(A4_Vertical);
  if (!fuente.empty()) pdf.Fonts.Add(fuente, fuente, TrueType);
  const bool drawn = GenerarBarras(Texto, pdf, Codificación, X, Y, Densidad, Alto, ImprimirTexto,
                                   fuente, Tamaño);
  pdf.PDFClose();
  return drawn && receipt::SpoolToPrinter(name);
}

bool BarCode128::PonerFuente(cFont& Objeto) {
  Objeto.BaseFont = fuente_;
  Objeto.fType = TrueType;
  return true;
}

}  // namespace velmora

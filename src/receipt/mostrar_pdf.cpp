// The dispensation receipt. cPDF::mostrarPDF is declared in the PDF writer's public header,
// because callers have always called it on the writer, but it is the receipt: the writer itself
// draws no bar code and knows no batch.
#include "velmora/pdf.h"

#include <algorithm>
#include <cstdint>

#include "barcode/modules.h"
#include "core/context.h"
#include "core/layout.h"
#include "os/paths.h"
#include "receipt/barcode_font_setup.h"
#include "receipt/data_text.h"
#include "receipt/draw_bars.h"
#include "receipt/logo.h"
#include "velmora/barcode.h"
#include "velmora/messages.h"

namespace velmora {
namespace {

constexpr int16_t kSlotHeight = 180;
constexpr int kSlotsPerPage = 4;
constexpr double kRuleLeft = 20;
constexpr double kRuleRight = 560;

// A Code 128 symbol drawn within `room` points: its width pattern and module width.
struct FittedBars {
  std::string pattern;
  double module;
};

// Wide modules scan best, up to 0.75 pt; under 0.4 pt, 300 dpi renderings and printers stop
// decoding reliably. A pattern that fits at 0.4 pt or more is drawn as the encoder made it. A
// longer one (the generated identifiers run to 50-64 characters) is drawn in the standard's
// shortest form of the same text, digit pairs in code set C; either way the symbol stays inside
// its room, since one that runs into its neighbour decodes as neither.
FittedBars FitCode128(const std::string& pattern, const std::string& text, double room) {
  constexpr double kSmallest = 0.4, kWidest = 0.75;
  FittedBars fitted{pattern, kWidest};
  int modules = barcode::PatternModules(pattern);
  if (modules > 0 && room / modules < kSmallest) {
    const std::string compact = barcode::CompactCode128Pattern(text);
    const int compactModules = barcode::PatternModules(compact);
    if (compactModules > 0 && compactModules < modules) {
      fitted.pattern = compact;
      modules = compactModules;
    }
  }
  if (modules > 0) fitted.module = std::min(kWidest, room / modules);
  return fitted;
}

void DrawFitted(cPDF& pdf, const FittedBars& bars, double top, double left, double height) {
  receipt::DrawCode128Bars(pdf, bars.pattern, top, left, bars.module, height);
}

void Rule(cPDF& pdf, double y) {
  pdf.SetColors(0, 0);
  pdf.SetLineFormat(1, ButtCap, MilterJoin, 0, "[]");
  pdf.MoveTo(kRuleLeft, y);
  pdf.WLineTo(kRuleRight, y);
  pdf.LineStroke();
}

const char* RegimenLetter(RegimenRecetaEnum regimen) {
  switch (regimen) {
    case Trabajador: return "T";
    case Pensionista: return "P";
    default: return "O";
  }
}

int16_t Top(int base, int offset) { return static_cast<int16_t>(base + offset); }

}  // namespace

void cPDF::mostrarPDF(CListadoDispensaciones& objListado) {
  receipt::EnsureBarcodeFontInstalled();
  const auto& requests = objListado.Dispensaciones();

  std::string file = os::RuntimeFolder() + core::layout::kLibraryTitle + std::string(core::layout::kReceiptExtension);
  if (!PDFCreate(file)) return;

  if (!code128) code128 = std::make_shared<BarCode128>();
  if (!codepdf417) codepdf417 = std::make_shared<cPDF417>();

  Fonts.Add("F1", "Times New Roman", TrueType);
  Fonts.Add("F2", "Helvetica", Type1);
  Fonts.Add("F3", "Palace Script MT");
  Fonts.Add("F4", "Arial");
  // Embedded, so the symbols draw on viewers that have never seen the font.
  const auto fontBytes = barcode::BarcodeFontBytes();
  Fonts.Add("F5", "Code PDF417").EmbedFontData(std::vector<uint8_t>(fontBytes.begin(), fontBytes.end()));

  LoadImageFromMemory(resources::kReceiptLogo, resources::kReceiptLogoSize, "logoMarvo");

  // An empty batch still gets its receipt, a page with the header alone: the counter prints
  // before the batch is checked, and the batch call then reports why nothing was sent.
  const CPeticionDispensacion* first = requests.Item(1);
  const std::string T = first ? first->Tis : std::string();
  const std::string P = first ? first->NombrePaciente : std::string();
  const FittedBars header = FitCode128(code128->Barras(T), T, 380);
  auto beginPage = [&] {
    NewPage(A4_Vertical);
    // From Left 60 up to the logo at 460, less a quiet zone.
    DrawFitted(*this, header, 20, 60, 24);
    Rule(*this, 50);
    Rule(*this, 70);
    WImage(40, 460, 25, 80, "logoMarvo");
    WTextBox(50, 20, 100, 150, "TIS: ", "F4", 10);
    WTextBox(50, 60, 100, 150, T, "F1", 10);
    WTextBox(50, 200, 100, 150, "Paciente: ", "F4", 10);
    WTextBox(50, 280, 100, 300, P, "F1", 10);
  };
  if (!first) beginPage();

  std::string D;
  int index = 0;
  for (const CPeticionDispensacion& request : requests) {
    const int s = index++ % kSlotsPerPage;
    const int b = kSlotHeight * s;
    if (s == 0) beginPage();

    receipt::ExtendDataText(D, request, T);
    // Every row of the symbol is "+" and its letters; rows stand 2 pt apart, the height of the
    // font's glyphs at 8 pt, so they join into one symbol.
    const std::string R = codepdf417->CodigoPDF(D);
    size_t start = R.find('+');
    for (int k = 1; start != std::string::npos; ++k) {
      const size_t next = R.find('+', start + 1);
      const std::string piece = R.substr(start + 1, next == std::string::npos ? std::string::npos : next - start - 1);
      WTextBox(Top(b, 170 + 2 * k), 300, 100, 200, "+" + piece, "F5", 8);
      start = next;
    }

    WTextBox(Top(b, 80), 25, 90, 120, "", "F1", 10, hLeft, vTop, 0, 1);
    WTextBox(Top(b, 80), 160, 90, 120, "", "F1", 10, hLeft, vTop, 0, 1);
    Rule(*this, b + 240);
    WTextBox(Top(b, 190), 50, 100, 150, request.CodigoDispensado + " - " + request.NombreMedicamento, "F4", 10);

    const std::string barsText = request.IDPrescripcion + RegimenLetter(request.RegimenReceta);
    // From Left 50 up to the PDF417 symbol at 300, less a quiet zone.
    DrawFitted(*this, FitCode128(code128->Barras(barsText, cC128_B), barsText, 235), b + 203, 50, 18);
    WTextBox(Top(b, 225), 50, 100, 150, request.IDPrescripcion, "F1", 10);
  }

  PDFClose();
  // The receipt is written whether or not a viewer opens it; a viewer that fails is the one
  // line in the log and the entry in Errores that the counter sees.
  if (const std::optional<Error> viewer = Show()) core::HandleError("cPDF.Show", *viewer);
}

}  // namespace velmora

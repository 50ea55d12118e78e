#include "velmora/barcode.h"

#include <zint.h>

#include <memory>

#include "barcode/modules.h"
#include "vbcompat/text.h"

namespace velmora {
namespace {

// The receipt gives a symbol the room of 30 rows of 2 pt between its slot's boxes and the rule
// below, and a text box 200 pt wide. Six data columns at 0.5 pt a module are 85.5 pt wide;
// longer texts (the data text grows when requests carry the previous one over) widen the symbol
// up to nineteen columns (195.5 pt, the widest row the box holds on one line) before it may grow
// taller. A text that needs more than 30 rows even then is refused: a taller symbol would run
// into the next slot, or off the page, and be read as neither.
constexpr int kFirstColumns = 6;
constexpr int kLastColumns = 19;
constexpr int kRowsInSlot = 30;
// Level 3 adds 16 error-correction codewords: enough to read a receipt through a crease or a
// smudge of a few codewords, while a usual data text (about 100 characters, mostly digits in
// numeric compaction) still fits in about ten rows of six columns.
constexpr int kSecurityLevel = 3;

struct SymbolDeleter {
  void operator()(zint_symbol* s) const { ZBarcode_Delete(s); }
};
using Symbol = std::unique_ptr<zint_symbol, SymbolDeleter>;

struct Encoded {
  Symbol symbol;
  int rc = 0;
};

Encoded Encode(const std::string& text, int columns) {
  Symbol s(ZBarcode_Create());
  if (!s) return {nullptr, ZINT_ERROR_MEMORY};
  s->symbology = BARCODE_PDF417;
  // Compaction is left to the encoder: it switches between text, numeric and byte modes per
  // stretch of the text, which keeps the long runs of zeros of a data text small. UTF-8 text is
  // stored as ISO-8859-1, what readers assume without an ECI; other bytes go in as they are.
  s->input_mode = vb::IsValidUtf8(text) ? UNICODE_MODE : DATA_MODE;
  s->option_1 = kSecurityLevel;
  s->option_2 = columns;
  const int rc = ZBarcode_Encode(s.get(), reinterpret_cast<const unsigned char*>(text.data()),
                                 static_cast<int>(text.size()));
  return {std::move(s), rc};
}

std::string FailureText(int rc, const char* detail) {
  std::string text = "Erreur N° " + std::to_string(rc) + " : " + detail;
  // The receipt splits symbols at "+"; a failure must draw nothing.
  for (char& c : text)
    if (c == '+') c = ' ';
  return text;
}

}  // namespace

std::string cPDF417::CodigoPDF(const std::string& Texto) {
  columns_ = rows_ = 0;
  Encoded best;
  for (int columns = kFirstColumns; columns <= kLastColumns; ++columns) {
    best = Encode(Texto, columns);
    if (best.rc >= ZINT_ERROR || best.symbol->rows <= kRowsInSlot) break;
  }
  if (best.rc >= ZINT_ERROR)
    return FailureText(best.rc, best.symbol ? best.symbol->errtxt : "out of memory");
  if (best.symbol->rows > kRowsInSlot)
    return FailureText(ZINT_ERROR_TOO_LONG, "data too long for a symbol of 19 columns and 30 rows");

  const zint_symbol& s = *best.symbol;
  std::vector<barcode::ModuleRow> rows(static_cast<size_t>(s.rows));
  for (int r = 0; r < s.rows; ++r) {
    rows[static_cast<size_t>(r)].resize(static_cast<size_t>(s.width));
    for (int c = 0; c < s.width; ++c)
      rows[static_cast<size_t>(r)][static_cast<size_t>(c)] = ((s.encoded_data[r][c >> 3] >> (c & 7)) & 1) != 0;
  }
  std::string text = barcode::RowsToFontText(rows);
  if (text.empty()) return FailureText(ZINT_ERROR_ENCODING_PROBLEM, "unexpected symbol layout");
  columns_ = (s.width - 69) / 17;
  rows_ = s.rows;
  return text;
}

}  // namespace velmora

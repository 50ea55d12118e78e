#include "velmora/barcode.h"

#include <array>
#include <string_view>

#include "barcode/code128_patterns.h"
#include "barcode/cp1252_codes.h"
#include "vbcompat/cp1252.h"
#include "vbcompat/vbconv.h"

namespace velmora {
namespace {

// Items 104..106 of the table are the start symbols of code sets A..C.
int StartItem(int16_t codeSet) {
  switch (codeSet) {
    case cC128_A: return 104;
    case cC128_B: return 105;
    case cC128_C: return 106;
    default: return 0;
  }
}

// For each Windows-1252 code, the first item of 1..63 (`low`) and of 64..94 (`high`) whose
// Código is that character (0 for none). Made once a call, from the table as it stands: the
// table is the caller's to change between calls, and one pass over it costs less than a search
// for every character.
struct ItemsByCode {
  std::array<int16_t, 256> low{};
  std::array<int16_t, 256> high{};
};

ItemsByCode IndexTable(const colC128& table) {
  ItemsByCode index;
  int16_t n = 0;
  for (const C128& item : table) {
    if (++n > 94) break;
    const std::string& código = item.Código;
    int code = -1;
    if (código.size() == 1 && static_cast<unsigned char>(código[0]) < 0x80) {
      code = código[0];
    } else if (!código.empty()) {
      uint32_t cp = 0;
      if (vb::DecodeUtf8(código, 0, cp) == código.size()) code = vb::Cp1252ByteOf(cp);
    }
    if (code < 0) continue;
    auto& slot = (n <= 63 ? index.low : index.high)[static_cast<size_t>(code)];
    if (slot == 0) slot = n;
  }
  return index;
}

}  // namespace

BarCode128::BarCode128() : fuente_("PF_C128.ttf") { InicializarTabla(); }

void BarCode128::InicializarTabla() {
  tabla_ = colC128();
  for (int n = 1; n <= 107; ++n) {
    const std::string código = n <= 95 ? std::string(1, static_cast<char>(31 + n)) : std::string();
    // Appended, not "A" + string: GCC 12 at -O3 warns (wrongly, -Wrestrict) on that form here.
    C128& item = tabla_.Add(código, std::string("A").append(std::to_string(n)));
    item.Valor = static_cast<int16_t>(n - 1);
    item.Patrón = std::string(barcode::kCode128Patterns[static_cast<size_t>(n - 1)]);
  }
}

colC128& BarCode128::Tabla() { return tabla_; }

std::string BarCode128::fuente() const { return fuente_; }

bool BarCode128::AsignarFuente(const std::string& fuente) {
  fuente_ = fuente;
  return true;
}

std::string BarCode128::Barras(const std::string& Texto, int16_t Codificación) {
  std::string pattern;
  int64_t sum = 0;
  if (const int start = StartItem(Codificación); start != 0) {
    pattern = tabla_.Item(start).Patrón;
    sum = start - 1;
  }
  // Code set C writes no data at all: the symbol is start, check and stop. Callers only ever use
  // set B for data, and the printed receipts already in circulation carry this exact pattern.
  if (Codificación != cC128_C) {
    const std::vector<int> codes = barcode::Cp1252Codes(Texto);
    const ItemsByCode index = IndexTable(tabla_);
    const auto& low = index.low;
    const auto& high = index.high;
    for (size_t pos = 0; pos < codes.size(); ++pos) {
      const int code = codes[pos];
      C128* found = low[static_cast<size_t>(code)] ? &tabla_.Item(low[static_cast<size_t>(code)]) : nullptr;
      if (!found && Codificación == cC128_A) {
        // A control character takes the table's item of its own code, one below the standard's
        // symbol; code 0 asks for item 0 and fails.
        if (code >= 0 && code <= 31) found = &tabla_.Item(code);
      } else if (!found && high[static_cast<size_t>(code)]) {
        found = &tabla_.Item(high[static_cast<size_t>(code)]);
      }
      if (!found && code >= 127 && code <= 134) found = &tabla_.Item(code - 32);
      // A character found nowhere adds no symbol but keeps its place: the characters after it
      // are weighted by their position in the text, not in the symbol.
      if (!found) continue;
      pattern += found->Patrón;
      sum += static_cast<int64_t>(found->Valor) * static_cast<int64_t>(pos + 1);
    }
  }
  pattern += tabla_.Item(static_cast<int32_t>(sum % 103) + 1).Patrón;
  pattern += tabla_.Item(107).Patrón;
  return pattern;
}

std::string BarCode128::Texto(const std::string& Frase, int16_t Clase) {
  // The font's start characters sit at 203..205, and the check sum starts from those codes
  // rather than from the symbols' values: fonts made for this text expect exactly that.
  int start = 0;
  if (Clase >= cC128_A && Clase <= cC128_C) start = 202 + Clase;
  std::string text = start ? barcode::Cp1252Char(start) : std::string();
  int64_t sum = start;
  if (Clase == cC128_C) {
    const std::string_view frase(Frase);
    for (size_t pos = 0; pos < frase.size(); pos += 2) {
      const double v = vb::Val(frase.substr(pos, 2), "BarCode128.Texto");
      const int32_t value = vb::RoundToInt32(v, "BarCode128.Texto");
      text += tabla_.Item(value).Código;
      sum += static_cast<int64_t>(value) * static_cast<int64_t>(pos + 1);
    }
  } else {
    const int limit = Clase == cC128_A ? 64 : 95;
    const std::vector<int> codes = barcode::Cp1252Codes(Frase);
    for (size_t pos = 0; pos < codes.size(); ++pos) {
      const int code = codes[pos];
      // Only the table's characters (" ".."~") have a value; anything else counts as 0.
      const int value = code >= 32 && code <= 126 ? code - 32 : 0;
      if (code >= 32 && code <= 126 && value < limit) text += static_cast<char>(code);
      sum += static_cast<int64_t>(value) * static_cast<int64_t>(pos + 1);
    }
  }
  text += barcode::Cp1252Char(static_cast<int>(sum % 103));
  text += barcode::Cp1252Char(106);
  return text;
}

}  // namespace velmora

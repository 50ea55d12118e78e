// The PDF417 encoder over arbitrary text: either a symbol, rows of "+" and letters "A".."P"
// (one "+" per row, as many as the symbol has rows), or a failure text that starts
// "Erreur N° " and holds no "+", so the receipt draws nothing for it.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "velmora/barcode.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A symbol holds at most about 2,700 characters; longer inputs only repeat the failure path.
  if (size > 4096) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  velmora::cPDF417 encoder;
  const std::string symbol = encoder.CodigoPDF(text);
  if (symbol.rfind("Erreur N° ", 0) == 0) {
    if (symbol.find('+') != std::string::npos) std::abort();
    if (encoder.Rows() != 0 || encoder.Columns() != 0) std::abort();
    return 0;
  }
  if (symbol.empty() || symbol[0] != '+') std::abort();
  int32_t rows = 0;
  size_t rowLength = 0, firstRowLength = 0;
  for (char c : symbol) {
    if (c == '+') {
      if (rows > 1 && rowLength != firstRowLength) std::abort();
      if (rows == 1) firstRowLength = rowLength;
      ++rows;
      rowLength = 0;
    } else if (c >= 'A' && c <= 'P') {
      ++rowLength;
    } else {
      std::abort();
    }
  }
  if (rows > 1 && rowLength != firstRowLength) std::abort();
  if (rows != encoder.Rows() || rows > 30 || encoder.Columns() < 1 || encoder.Columns() > 19) std::abort();
  return 0;
}

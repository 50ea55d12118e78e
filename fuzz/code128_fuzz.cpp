// The Code 128 encoder over arbitrary text and code sets: a pattern is module widths only,
// framed by its start and stop symbols, with one check symbol; the font text is framed by its
// start and stop characters. An error the encoder raises on purpose (item 0 in code set A, a
// pair that is no number in code set C) is a velmora::Error; anything else is a bug.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "barcode/modules.h"
#include "velmora/barcode.h"
#include "velmora/error.h"

namespace {

void CheckPattern(const std::string& pattern, int16_t codeSet) {
  static const char* const kStarts[] = {"211412", "211214", "211232"};
  constexpr const char* kStop = "2331112";
  const bool framed = codeSet >= velmora::cC128_A && codeSet <= velmora::cC128_C;
  // Start (when the set has one) + check + stop; every symbol of data is six modules more.
  const size_t fixed = (framed ? 6u : 0u) + 6u + 7u;
  if (pattern.size() < fixed || (pattern.size() - fixed) % 6 != 0) std::abort();
  for (char c : pattern)
    if (c < '1' || c > '4') std::abort();
  if (pattern.compare(pattern.size() - 7, 7, kStop) != 0) std::abort();
  if (framed && pattern.compare(0, 6, kStarts[codeSet - 1]) != 0) std::abort();
  // Code set C writes no data symbols at all.
  if (codeSet == velmora::cC128_C && pattern.size() != fixed) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte picks the code set, including values no set has.
  const int16_t codeSet = static_cast<int16_t>(data[0] % 5);
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  static auto* encoder = new velmora::BarCode128;  // never destroyed: one table for the run
  try {
    CheckPattern(encoder->Barras(text, codeSet), codeSet);
  } catch (const velmora::Error&) {
  }
  // The receipt's compact form of a long identifier: nothing for text it cannot hold, else framed.
  const std::string compact = velmora::barcode::CompactCode128Pattern(text);
  if (!compact.empty() && compact.compare(compact.size() - 7, 7, "2331112") != 0) std::abort();
  try {
    const std::string font = encoder->Texto(text, codeSet);
    // The stop character (code 106) is always last, written as one byte or as UTF-8.
    if (font.empty()) std::abort();
  } catch (const velmora::Error&) {
  }
  return 0;
}

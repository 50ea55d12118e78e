#include <gtest/gtest.h>
#include <zint.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "velmora/barcode.h"
#include "support/test_support.h"
#include "velmora/error.h"

namespace velmora {
namespace {

const std::string kStop = "2331112";

// zint's module row of a one-row symbol, as widths of alternating bars and spaces.
std::string ZintWidths(int symbology, const std::string& data, int inputMode = DATA_MODE) {
  std::unique_ptr<zint_symbol, decltype(&ZBarcode_Delete)> s(ZBarcode_Create(), ZBarcode_Delete);
  s->symbology = symbology, s->input_mode = inputMode;
  const int rc = ZBarcode_Encode(s.get(), reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size()));
  EXPECT_LT(rc, ZINT_ERROR) << s->errtxt;
  std::string widths;
  int run = 0;
  bool dark = true;
  for (int c = 0; c < s->width; ++c) {
    const bool d = ((s->encoded_data[0][c >> 3] >> (c & 7)) & 1) != 0;
    if (d != dark) widths += static_cast<char>('0' + run), run = 0, dark = d;
    ++run;
  }
  widths += static_cast<char>('0' + run);
  return widths;
}

TEST(Code128Table, HoldsTheCharactersValuesAndKeysInValueOrder) {
  BarCode128 bc;
  colC128& t = bc.Tabla();
  ASSERT_EQ(t.Count(), 107);
  for (int n = 1; n <= 107; ++n) {
    const C128& item = t.Item(n);
    EXPECT_EQ(item.Valor, n - 1);
    EXPECT_EQ(&t.Item("A" + std::to_string(n)), &item);
    EXPECT_EQ(item.Código, n <= 95 ? std::string(1, static_cast<char>(31 + n)) : "") << n;
  }
  EXPECT_THROW(t.Item(0), Error);
  EXPECT_THROW(t.Item(108), Error);
  EXPECT_THROW(t.Item("A0"), Error);
}

// Every pattern is read back out of symbols that zint encodes on its own: each 6-width group of
// a zint symbol must be a table pattern, and the values the table gives them must satisfy the
// symbol's own check character. Together the symbols use every value but FNC2 and FNC3 (96,
// 97), which zint never writes; those two are pinned literally. The start patterns and the stop
// are pinned by the Barras cases.
TEST(Code128Table, PatternsAreTheSymbologysOwn) {
  BarCode128 bc;
  std::map<std::string, int> valueOf;
  for (int n = 1; n <= 107; ++n) valueOf[bc.Tabla().Item(n).Patrón] = n - 1;
  ASSERT_EQ(valueOf.size(), 107u) << "patterns must be distinct";

  std::string allPairs;
  for (int v = 0; v < 100; ++v) allPairs += std::to_string(v / 10) + std::to_string(v % 10);
  const std::vector<std::pair<int, std::string>> inputs = {
      {BARCODE_CODE128, allPairs.substr(0, 100)}, {BARCODE_CODE128, allPairs.substr(100)},
      {BARCODE_CODE128, "\x01\x02 !\"#$%&'()*+,-./0123456789:;<=>?"},
      {BARCODE_CODE128, "\x01@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_"},
      {BARCODE_CODE128, "\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11\x12\x13\x14"
                        "\x15\x16\x17\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f"},
      {BARCODE_CODE128B, " `abcdefghijklmnopqrstuvwxyz{|}~\x7f"},
      {BARCODE_CODE128, "ab\x01" "cd"}, {BARCODE_CODE128, "abcd\x01\x02\x03\x04\x05"}, {BARCODE_CODE128, "123456abcdef"},
      {BARCODE_CODE128, "\xe9\xe8\xea"}, {BARCODE_CODE128, "\x01\x02\x03\xe9\xe8"}, {BARCODE_GS1_128, "[01]12345678901231"},
  };
  std::set<int> seen;
  for (const auto& [symbology, data] : inputs) {
    const std::string widths = ZintWidths(symbology, data);
    ASSERT_EQ(widths.size() % 6, 1u) << data;
    std::vector<int> values;
    for (size_t i = 0; i + 7 < widths.size(); i += 6) {
      const auto found = valueOf.find(widths.substr(i, 6));
      ASSERT_NE(found, valueOf.end()) << widths.substr(i, 6) << " in " << data;
      values.push_back(found->second);
    }
    EXPECT_EQ(widths.substr(widths.size() - 7), kStop);
    int sum = values.front();
    for (size_t i = 1; i + 1 < values.size(); ++i) sum += values[i] * static_cast<int>(i);
    EXPECT_EQ(sum % 103, values.back()) << data;
    seen.insert(values.begin(), values.end());
  }
  seen.insert(106);
  for (int v = 0; v <= 106; ++v) EXPECT_TRUE(v == 96 || v == 97 || seen.count(v)) << "value " << v << " not exercised";
  EXPECT_EQ(bc.Tabla().Item(97).Patrón, "114311");  // FNC3
  EXPECT_EQ(bc.Tabla().Item(98).Patrón, "411113");  // FNC2
}

std::string P(int item) { return BarCode128().Tabla().Item(item).Patrón; }

TEST(Code128Barras, KeepsTheEncodersOwnRules) {
  struct Case {
    const char* name;
    std::string text;
    int16_t set;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"empty text in B", "", cC128_B, "211214" "222122" + kStop},
      {"set C writes no data", "1234", cC128_C, "211232" "222221" + kStop},
      {"one letter in B", "A", cC128_B, "211214" + P(34) + P(35) + kStop},
      // "~" adds nothing, yet "B" keeps weight 3: 104 + 33 + 34 * 3 = 239, 239 mod 103 = 33.
      {"tilde skipped in B", "A~B", cC128_B, "211214" + P(34) + P(35) + P(34) + kStop},
      // A control character takes the table's item of its own code: 0x01 is item 1 (value 0).
      {"control character in A", "\x01", cC128_A, "211412" + P(1) + P(1) + kStop},
      {"lower case is not in set A", "a", cC128_A, "211412" + P(1) + kStop},
      {"DEL is item 95", "\x7f", cC128_B, "211214" + P(95) + P(96) + kStop},
      {"euro sign is code 128, item 96", "€", cC128_B, "211214" + P(96) + P(97) + kStop},
      {"no code set: no start, sum from 0", "A", 0, P(34) + P(34) + kStop},
  };
  BarCode128 bc;
  for (const Case& c : cases) EXPECT_EQ(bc.Barras(c.text, c.set), c.expected) << c.name;
  // NUL in set A asks the table for item 0, which does not exist.
  EXPECT_EQ(testing::ErrorNumber([&] { bc.Barras(std::string("A\0B", 3), cC128_A); }), 9);
}

TEST(Code128Barras, MatchesTheSymbologyForPlainTextInCodeSetB) {
  BarCode128 bc;
  for (const std::string text : {"ITP2801482801U01ABCD1234567890240203090507T",
                                 " !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ",
                                 "[\\]^_`abcdefghijklmnopqrstuvwxyz{|}"})
    EXPECT_EQ(bc.Barras(text, cC128_B), ZintWidths(BARCODE_CODE128B, text)) << text;
}

TEST(Code128Texto, StartsFromTheFontsCodesAndWeightsCharacters) {
  BarCode128 bc;
  // 204 + 33 * 1 + 34 * 2 = 305; 305 mod 103 = 99 ("c"); stop 106 ("j").
  EXPECT_EQ(bc.Texto("AB", cC128_B), "\xC3\x8C" "ABcj");
  // Set A keeps characters of value below 64: "a" (65) is left out but still weighted:
  // 203 + 33 + 65 * 2 = 366, mod 103 = 57 ("9").
  EXPECT_EQ(bc.Texto("Aa", cC128_A), "\xC3\x8B" "A9j");
  // Set C: pairs 12 and 34 at positions 1 and 3 give items 12 ("+") and 34 ("A");
  // 205 + 12 * 1 + 34 * 3 = 319, mod 103 = 10.
  EXPECT_EQ(bc.Texto("1234", cC128_C), "\xC3\x8D" "+A\nj");
  EXPECT_THROW(bc.Texto("0012", cC128_C), Error);
}

}  // namespace
}  // namespace velmora

#include <gtest/gtest.h>

#include <string>

#include "barcode/modules.h"
#include "velmora/barcode.h"

namespace velmora {
namespace {

const std::string kDataText =
    "20240115|00000000000000000000000000000000|000000|2812345|000000|000000|0000000000|654321|1|001234567";

std::string Bits(const barcode::ModuleRow& row, size_t from, size_t count) {
  std::string s;
  for (size_t i = from; i < from + count && i < row.size(); ++i) s += row[i] ? '1' : '0';
  return s;
}

// Every row the font text draws must be a whole PDF417 row: start pattern, the columns, and the
// asymmetric stop pattern exactly where the column count puts it (a reversed bit order or a lost
// module would move or mirror it).
void ExpectWellFormed(const std::string& text, const cPDF417& encoder) {
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text.front(), '+');
  EXPECT_EQ(text.find_first_not_of("+ABCDEFGHIJKLMNOP"), std::string::npos);
  const auto rows = barcode::FontTextToRows(text);
  ASSERT_EQ(static_cast<int>(rows.size()), encoder.Rows());
  const size_t modules = 17 * static_cast<size_t>(encoder.Columns()) + 69;
  for (const auto& row : rows) {
    ASSERT_GE(row.size(), modules);
    EXPECT_LT(row.size(), modules + 4);
    EXPECT_EQ(Bits(row, 0, 17), "11111111010101000");
    EXPECT_EQ(Bits(row, modules - 18, 18), "111111101000101001");
    EXPECT_EQ(Bits(row, modules, 4).find('1'), std::string::npos) << "padding must be light";
  }
}

// Longer texts widen the symbol up to 19 columns (the widest row its 200 pt box holds) before it
// grows, and never past the 30 rows of its slot.
TEST(Pdf417, ColumnsGrowBeforeRows) {
  std::string carried;
  for (int i = 0; i < 6; ++i) carried += "|00000000" + kDataText.substr(8);
  std::string longCarried;
  for (int i = 0; i < 8; ++i) longCarried += "|00000000|AB" + kDataText.substr(8) + "|Z" + std::to_string(i);
  struct Case {
    std::string text;
    int minColumns, maxColumns;
  };
  for (const Case& c : {Case{kDataText, 6, 6}, Case{carried, 7, 12}, Case{longCarried, 13, 19},
                        Case{"Café Ärzte § 5µg", 1, 12}, Case{std::string("\xff\xfe\x00\x01", 4), 1, 12}}) {
    cPDF417 encoder;
    const std::string text = encoder.CodigoPDF(c.text);
    ExpectWellFormed(text, encoder);
    EXPECT_GE(encoder.Columns(), c.minColumns) << c.text;
    EXPECT_LE(encoder.Columns(), c.maxColumns) << c.text;
    EXPECT_LE(encoder.Rows(), 30) << c.text;
  }
  // The usual data text: each row is "+" and (17 * 6 + 53) modules in letters of four.
  cPDF417 encoder;
  const size_t size = encoder.CodigoPDF(kDataText).size();
  EXPECT_EQ(size, static_cast<size_t>(encoder.Rows()) * (1 + (17 * 6 + 53 + 3) / 4));
}

TEST(Pdf417, TextsItCannotHoldGiveTheFailureText) {
  cPDF417 encoder;
  // The last: a symbol could hold it, but only taller than its slot.
  for (const std::string& text : {std::string(), std::string(4000, '\xb5'), std::string(3000, 'x'), std::string(1500, 'x')}) {
    const std::string result = encoder.CodigoPDF(text);
    EXPECT_EQ(result.rfind("Erreur N° ", 0), 0u) << result;
    EXPECT_EQ(result.find('+'), std::string::npos);
    EXPECT_EQ(encoder.Rows(), 0);
  }
}

}  // namespace
}  // namespace velmora

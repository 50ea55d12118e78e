#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "receipt/data_text.h"
#include "velmora/messages.h"

namespace velmora {
namespace {

const std::string kZeros = "|00000000000000000000000000000000|000000";
const std::string kFixed = "|000000|000000|0000000000";

CPeticionDispensacion Request(std::string date, std::string prescriber, std::string product,
                              std::string packages) {
  CPeticionDispensacion r;
  r.FechaPrescripcion = std::move(date);
  r.CodigoColegiadoPrescriptor = std::move(prescriber);
  r.CodigoDispensado = std::move(product);
  r.EnvasesDispensados = std::move(packages);
  return r;
}

TEST(ReceiptDataText, FieldsAndTheHealthCard) {
  struct Case {
    const char* name;
    CPeticionDispensacion request;
    std::string T;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"all fields, card of 7", Request("20240115", "2812345", "654321", "2"), "ABC1234",
       "20240115" + kZeros + "|2812345" + kFixed + "|654321|2|00ABC1234"},
      {"card of 7 characters in 8 bytes", Request("20240115", "1", "2", "3"), "ÑAB1234",
       "20240115" + kZeros + "|1" + kFixed + "|2|3|00ÑAB1234"},
      {"card of 12 unchanged", Request("20240115", "1", "2", "3"), "ABCD12345678",
       "20240115" + kZeros + "|1" + kFixed + "|2|3|ABCD12345678"},
      {"empty fields take their zeros", Request("", "", "", ""), "",
       "|00000000" + kZeros + "|0000000000" + kFixed + "|000000|0|000000000"},
  };
  for (const Case& c : cases) {
    std::string D;
    receipt::ExtendDataText(D, c.request, c.T);
    EXPECT_EQ(D, c.expected) << c.name;
  }
}

TEST(ReceiptDataText, OnlyADateStartsTheTextAnew) {
  std::string D;
  receipt::ExtendDataText(D, Request("20240115", "7", "8", "1"), "T1");
  const std::string first = D;
  receipt::ExtendDataText(D, Request("", "9", "8", "1"), "T1");
  EXPECT_EQ(D, first + "|00000000" + kZeros + "|9" + kFixed + "|8|1|0000000T1");
  receipt::ExtendDataText(D, Request("20240301", "7", "8", "1"), "T1");
  EXPECT_EQ(D, "20240301" + first.substr(8));
}

}  // namespace
}  // namespace velmora

#include "request_file.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace velmora::cli {
namespace {

TEST(RequestFile, SectionsBecomeDispensations) {
  const auto requests = ParseRequestFile(
      "# a batch of two\r\n[Dispensacion]\r\n  IdFarmacia =  F 1 \r\nRegimenReceta=-1\r\n\r\n"
      "[Dispensacion]\n; second\nImporte=10,50\nIDPrescripcion=\n");
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].at("IdFarmacia"), "F 1");
  EXPECT_EQ(requests[0].at("RegimenReceta"), "-1");
  EXPECT_EQ(requests[1].at("Importe"), "10,50");
  EXPECT_EQ(requests[1].at("IDPrescripcion"), "");
}

TEST(RequestFile, BadInputIsRefusedWithTheLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "no [Dispensacion] section"},
      {"IdFarmacia=F1\n", "line 1: a property before the first [Dispensacion]"},
      {"[Dispensacion]\nNombre=x\n", "line 2: unknown property 'Nombre'"},
      {"[Dispensacion]\nIdFarmacia\n", "line 2: expected Property=Value"},
      {"[Dispensacion]\nIdFarmacia=a\nIdFarmacia=b\n", "line 3: 'IdFarmacia' given twice"},
      {"[Dispensacion]\nTipoPrescripcion=3x\n", "line 2: TipoPrescripcion must be a whole number"},
      {"[Dispensacion]\nRegimenReceta=99999999999\n", "line 2: RegimenReceta must be a whole number"},
      {"[Dispensaciones]\n", "line 1: unknown section [Dispensaciones] (use [Dispensacion])"},
      {"[Dispensacion]\nSaveSOAPMsgToFile=yes\n", "line 2: SaveSOAPMsgToFile must be 0 or 1"},
  };
  for (const auto& [text, message] : cases) {
    try {
      ParseRequestFile(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const std::invalid_argument& e) {
      EXPECT_STREQ(e.what(), message) << text;
    }
  }
}

}  // namespace
}  // namespace velmora::cli

#include "request_file.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace velmora::cli {
namespace {

TEST(RequestFile, OneSectionIsASingleDispensationNumberedOnesABatch) {
  // As a Windows editor saves it: byte order mark, names in another case, Windows-1252 lines.
  const auto single = ParseRequestFile("\xEF\xBB\xBF[dispensacion]\r\n  IdFarmacia =  F 1 \r\nRegimenReceta=-1\r\nnombrePACIENTE=Jos\xE9\r\nTis=\xE2\x82\xAC\r\n");
  EXPECT_FALSE(single.batch);
  ASSERT_EQ(single.requests.size(), 1u);
  EXPECT_EQ(single.requests[0].at("IdFarmacia"), "F 1");
  EXPECT_EQ(single.requests[0].at("RegimenReceta"), "-1");
  EXPECT_EQ(single.requests[0].at("NombrePaciente"), "Jos\xC3\xA9");
  EXPECT_EQ(single.requests[0].at("Tis"), "\xE2\x82\xAC");  // UTF-8 stays as it is

  const auto batch = ParseRequestFile("[Dispensacion1]\nImporte=1\n\n[Dispensacion2]\n; second\nImporte=10,50\nIDPrescripcion=\n");
  EXPECT_TRUE(batch.batch);
  ASSERT_EQ(batch.requests.size(), 2u);
  EXPECT_EQ(batch.requests[1].at("Importe"), "10,50");
  EXPECT_EQ(batch.requests[1].at("IDPrescripcion"), "");
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
      {"[Dispensaciones]\n", "line 1: unexpected section [Dispensaciones] (use one [Dispensacion], or [Dispensacion1])"},
      {"[Dispensacion1]\n[Dispensacion3]\n", "line 2: unexpected section [Dispensacion3] (use one [Dispensacion], or [Dispensacion2])"},
      {"[Dispensacion]\n[Dispensacion]\n", "line 2: unexpected section [Dispensacion] (use one [Dispensacion], or no more sections)"},
      {"[Dispensacion1]\n[Dispensacion]\n", "line 2: unexpected section [Dispensacion] (use one [Dispensacion], or [Dispensacion2])"},
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

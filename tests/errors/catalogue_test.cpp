#include "errors/catalogue.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "velmora/error.h"

namespace velmora::errors {
namespace {

// The texts are what installations grep their logs for: the table must match the reviewed copy
// byte for byte, in order.
TEST(Catalogue, MatchesTheReviewedCopy) {
  std::ifstream in(VELMORA_SOURCE_DIR "/tests/errors/catalogue.txt");
  ASSERT_TRUE(in);
  std::string line;
  size_t i = 0;
  while (std::getline(in, line)) {
    ASSERT_LT(i, std::size(kCatalogue));
    const auto bar = line.find('|');
    EXPECT_EQ(std::to_string(kCatalogue[i].number), line.substr(0, bar));
    EXPECT_EQ(kCatalogue[i].text, line.substr(bar + 1));
    ++i;
  }
  EXPECT_EQ(i, std::size(kCatalogue));
}

TEST(Catalogue, RaiseCarriesNumberSourceAndText) {
  try {
    Raise(32012, "CX.Y");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 32012);
    EXPECT_EQ(e.Source, "CX.Y");
    EXPECT_EQ(e.Description, kCatalogue[12].text);
  }
  EXPECT_EQ(ErrorText(53), "No se ha encontrado el archivo executor.exe");
  EXPECT_EQ(PlatformErrorText(53), "No se encontró el archivo");
  EXPECT_EQ(ErrorText(6), "Desbordamiento");
  EXPECT_EQ(ErrorText(12345), "");
}

}  // namespace
}  // namespace velmora::errors

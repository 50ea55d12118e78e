#include "errors/catalogue.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>
#include <utility>

#include "velmora/error.h"

namespace velmora::errors {
namespace {

// The texts are what installations grep their logs for and what scripts read from the
// terminal: the whole table must match the reviewed copy byte for byte, in order. A line is
// "key|number|text", the number empty for a text that is no error's and "\n" written "\\n".
TEST(Catalogue, MatchesTheReviewedCopy) {
  std::ifstream in(VELMORA_SOURCE_DIR "/tests/errors/catalogue.txt");
  ASSERT_TRUE(in);
  std::string line;
  size_t i = 0;
  while (std::getline(in, line)) {
    ASSERT_LT(i, std::size(kCatalogue));
    const auto& e = kCatalogue[i++];
    const auto bar = line.find('|'), bar2 = line.find('|', bar + 1);
    std::string text;
    for (size_t k = bar2 + 1; k < line.size(); ++k)
      text += line[k] == '\\' && k + 1 < line.size() ? (line[++k] == 'n' ? '\n' : line[k]) : line[k];
    EXPECT_EQ(e.key, line.substr(0, bar));
    EXPECT_EQ(e.kind == Kind::Text ? "" : std::to_string(e.number), line.substr(bar + 1, bar2 - bar - 1)) << e.key;
    EXPECT_EQ(e.text, text) << e.key;
  }
  EXPECT_EQ(i, std::size(kCatalogue));
  std::set<std::string_view> keys;
  for (const auto& e : kCatalogue) EXPECT_TRUE(keys.insert(e.key).second) << "key twice: " << e.key;
}

// Every named number has its text under its own name, and the numbers are the ones hosts and
// logs have always seen (the font installer's and the SOAP client's are COM HRESULTs).
TEST(Catalogue, EveryNamedNumberHasItsText) {
  struct Named { int32_t number; std::string_view key; int64_t expected; };
  const Named named[] = {
      {errnum::kInvalidCall, "INVALID_CALL", 5}, {errnum::kOverflow, "OVERFLOW", 6},
      {errnum::kOutOfMemory, "OUT_OF_MEMORY", 7}, {errnum::kSubscriptOutOfRange, "SUBSCRIPT_OUT_OF_RANGE", 9},
      {errnum::kDivisionByZero, "DIVISION_BY_ZERO", 11}, {errnum::kTypeMismatch, "TYPE_MISMATCH", 13},
      {errnum::kFileNotFound, "FILE_NOT_FOUND", 53}, {errnum::kDiskFull, "DISK_FULL", 61},
      {errnum::kPermissionDenied, "PERMISSION_DENIED", 70}, {errnum::kPathAccess, "PATH_ACCESS", 75},
      {errnum::kPathNotFound, "PATH_NOT_FOUND", 76}, {errnum::kDuplicateKey, "DUPLICATE_KEY", 457},
      {errnum::kInvalidPicture, "INVALID_PICTURE", 481}, {errnum::kResponseNotFilled, "RESPONSE_NOT_FILLED", 32000},
      {errnum::kIniUnreadable, "INI_UNREADABLE", 32001}, {errnum::kRequiredFields, "REQUIRED_FIELDS", 32002},
      {errnum::kRequestXmlInvalid, "REQUEST_XML_INVALID", 32003}, {errnum::kInvalidDate, "INVALID_DATE", 32004},
      {errnum::kInterfaceNotActive, "INTERFACE_NOT_ACTIVE", 32005},
      {errnum::kNoPrescriptionId, "NO_PRESCRIPTION_ID", 32006},
      {errnum::kRequestNotExported, "REQUEST_NOT_EXPORTED", 32007},
      {errnum::kDispensationNotExported, "DISPENSATION_NOT_EXPORTED", 32008},
      {errnum::kXmlNotLoaded, "XML_NOT_LOADED", 32009}, {errnum::kServiceUnreachable, "SERVICE_UNREACHABLE", 32010},
      {errnum::kDefaultFieldInvalid, "DEFAULT_FIELD_INVALID", 32011},
      {errnum::kInternalErrors, "INTERNAL_ERRORS", 32012},
      {errnum::kForcedInternalResponse, "FORCED_INTERNAL_RESPONSE", 32013},
      {errnum::kNoDispensations, "NO_DISPENSATIONS", 32014}, {errnum::kExecutorNotFound, "EXECUTOR_NOT_FOUND", 53},
      {errnum::kNoFontsFolder, "NO_FONTS_FOLDER", 0x80040001},
      {errnum::kNoFontFileName, "NO_FONT_FILE_NAME", 0x80040003}, {errnum::kNoFontPath, "NO_FONT_PATH", 0x80040004},
      {errnum::kFontFileMissing, "FONT_FILE_MISSING", 0x80040005},
      {errnum::kFontNotRegistered, "FONT_NOT_REGISTERED", 0x80040006},
      {errnum::kFontNotUninstalled, "FONT_NOT_UNINSTALLED", 0x80040008},
      {errnum::kSoapClient, "SOAP_CLIENT", 0x80004005},
  };
  for (const auto& n : named) {
    EXPECT_EQ(static_cast<uint32_t>(n.number), static_cast<uint32_t>(n.expected)) << n.key;
    const CatalogueEntry* e = Find(n.key);
    ASSERT_NE(e, nullptr) << n.key;
    EXPECT_EQ(e->number, n.number) << n.key;
    EXPECT_FALSE(e->text.empty()) << n.key;
  }
  size_t numbered = 0;
  for (const auto& e : kCatalogue) numbered += e.kind != Kind::Text && e.key.find('.') == std::string_view::npos;
  EXPECT_EQ(numbered, std::size(named)) << "a numbered entry without a named constant";
}

TEST(Catalogue, RaiseCarriesNumberSourceAndText) {
  try {
    Raise(errnum::kInternalErrors, "CX.Y");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 32012);
    EXPECT_EQ(e.Source, "CX.Y");
    EXPECT_EQ(e.Description, Find("INTERNAL_ERRORS")->text);
  }
  // By number, the library's own text comes first, then the runtime's; a number raised only with
  // a text of its own (457, the font installer's) has none.
  const std::pair<int32_t, std::string_view> byNumber[] = {
      {53, "No se ha encontrado el archivo executor.exe"}, {6, "Desbordamiento"}, {12345, ""}, {457, ""},
      {errnum::kNoFontsFolder, ""}, {errnum::kSoapClient, ""}};
  for (const auto& [number, text] : byNumber) EXPECT_EQ(ErrorText(number), text) << number;
  EXPECT_EQ(PlatformErrorText(53), "No se encontró el archivo");
}

TEST(Catalogue, FillsPlaceholdersInOnePass) {
  const struct { std::string_view text; std::initializer_list<std::string_view> args; std::string_view filled; } cases[] = {
      {"fichero %1.", {"/a b/c.ttf"}, "fichero /a b/c.ttf."},
      {"%1 y %2 y %1", {"x", "y"}, "x y y y x"},
      {"%1%2", {"%2", "z"}, "%2z"},  // a value is never read for placeholders
      {"%3 al 100%", {"a"}, "%3 al 100%"},
      {"%", {}, "%"},
  };
  for (const auto& c : cases) EXPECT_EQ(Format(c.text, c.args), c.filled) << c.text;
  EXPECT_EQ(CatalogueText("cli.unknown_option", {"--x", "ack"}), "unknown option --x for ack");
  EXPECT_THROW(CatalogueText("cli.no_such_text"), std::out_of_range);
}

}  // namespace
}  // namespace velmora::errors

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "support/context_fixture.h"

namespace velmora {
namespace {

using testing::ContextFixture;
using testing::RuntimeFolder;
using testing::IniWith;

TEST(Config, LoadsEveryKeyWithItsConversion) {
  ContextFixture f(IniWith("TamanioMaximoLog", "1e3"));
  auto& config = core::ThreadContext().Config;
  ASSERT_TRUE(config.LoadIni());
  EXPECT_EQ(config.Servicio, "http://127.0.0.1:1/dispensacion?wsdl");
  EXPECT_EQ(config.GenerarLog, 1);
  EXPECT_EQ(config.PeticionTimeOut(), 5);
  EXPECT_EQ(config.IntervaloComprobacion(), 1);
  EXPECT_EQ(config.EliminarXMLPeticion, 1);
  EXPECT_TRUE(config.Auditar);
  EXPECT_EQ(config.TamanioMaximoLog, 1000);
  EXPECT_EQ(config.CodigoDispensacionOk(), "0000");
}

TEST(Config, EsquemaXMLIsInvertedOnPurpose) {
  // The usual ini value loses its trailing blank on reading, so it comes back whole.
  const std::pair<std::string, std::string> cases[] = {
      {IniWith("EsquemaXML", std::string("\"") + kDefaultEsquemaXML + "\""), "1 "},
      {IniWith("EsquemaXML", ""), " "},
      {RuntimeFolder::DefaultIni(), kDefaultEsquemaXML}};
  for (const auto& [ini, expected] : cases) {
    ContextFixture f(ini);
    ASSERT_TRUE(core::ThreadContext().Config.LoadIni());
    EXPECT_EQ(core::ThreadContext().Config.EsquemaXML(), expected);
    EXPECT_EQ(core::ThreadContext().EsquemaXML, expected);
  }
}

TEST(Config, AuditarAndLogSizeConversions) {
  const std::tuple<std::string, const char*, int32_t> cases[] = {
      {"Auditar", "1", true}, {"Auditar", "2", false}, {"Auditar", "-1", false}, {"Auditar", "0", false},
      {"Auditar", "1,4", true}, {"TamanioMaximoLog", "", 0}, {"TamanioMaximoLog", "1e3", 1000},
      {"TamanioMaximoLog", "12abc", 12}, {"TamanioMaximoLog", "2.5", 2}, {"TamanioMaximoLog", "abc", 0}};
  for (const auto& [key, text, expected] : cases) {
    ContextFixture f(IniWith(key, text));
    const auto& config = core::ThreadContext().Config;
    ASSERT_TRUE(core::ThreadContext().Config.LoadIni()) << key << text;
    EXPECT_EQ(key == "Auditar" ? int32_t{config.Auditar} : config.TamanioMaximoLog, expected) << key << text;
  }
}

TEST(Config, BadValuesFailTheLoadAndAreLogged) {
  const struct { std::string ini; const char* line; } cases[] = {
      {IniWith("Auditar", ""), "CConfig.LoadIni:(13)No coinciden los tipos"},
      {IniWith("GenerarLog", "si"), "CConfig.LoadIni:(13)No coinciden los tipos"},
      {IniWith("PeticionTimeOut", "40000"), "CConfig.LoadIni:(6)Desbordamiento"},
      {"", "CConfig.LoadIni:(13)No coinciden los tipos"},  // no ini file at all
  };
  for (const auto& c : cases) {
    ContextFixture f(c.ini);
    EXPECT_FALSE(core::ThreadContext().Config.LoadIni());
    EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 " + std::string(c.line))) << f.Log();
  }
  // Keys after the failing one keep what they held.
  ContextFixture f(IniWith("AutoRespuesta", "x"));
  auto& config = core::ThreadContext().Config;
  config.EliminarXMLPeticion = 7;
  EXPECT_FALSE(config.LoadIni());
  EXPECT_EQ(config.PeticionTimeOut(), 5);
  EXPECT_EQ(config.EliminarXMLPeticion, 7);
  // An unreadable ini fails the load without crashing.
  ContextFixture g("");
  std::filesystem::create_directory(g.folder.Path("velmora.ini"));  // unreadable as a file, even for root
  EXPECT_FALSE(core::ThreadContext().Config.LoadIni());
}

TEST(Config, SettersClampButLoadIniDoesNot) {
  ContextFixture f(IniWith("IntervaloComprobacion", "0"));
  auto& config = core::ThreadContext().Config;
  ASSERT_TRUE(config.LoadIni());
  EXPECT_EQ(config.IntervaloComprobacion(), 0);
  // {time-out set, interval set, interval read}; a time-out of 0 means 60, a negative one its size.
  const int16_t cases[][3] = {{0, 60, 20}, {-45, 0, 15}, {60, 61, 20}, {60, 0, 20}, {60, 59, 59}, {10, 0, 3}};
  for (const auto& c : cases) {
    config.PeticionTimeOut(c[0]);
    config.IntervaloComprobacion(c[1]);
    EXPECT_EQ(config.PeticionTimeOut(), c[0] == 0 ? 60 : std::abs(c[0]));
    EXPECT_EQ(config.IntervaloComprobacion(), c[2]) << c[0] << " " << c[1];
  }
}

TEST(Config, CountersAdvanceAndAMissingKeyIsLogged) {
  ContextFixture f(IniWith("Enviados", "7"));
  auto& config = core::ThreadContext().Config;
  EXPECT_TRUE(config.UpdateAndSaveSended());
  EXPECT_EQ(GetPrivateProfileStringEx(config.IniFile, "MensajeSOAP", "Enviados"), "8");
  EXPECT_TRUE(config.UpdateAndSaveReceived());
  EXPECT_EQ(GetPrivateProfileStringEx(config.IniFile, "MensajeSOAP", "Recibidos"), "1");

  ContextFixture g("[MensajeSOAP]\r\nRecibidos=2147483647\r\n");
  EXPECT_FALSE(core::ThreadContext().Config.UpdateAndSaveSended());
  EXPECT_TRUE(g.LogHas("2024/02/03 09:05:07 CConfig.UpdateAndSaveSended:(13)No coinciden los tipos"));
  EXPECT_EQ(g.folder.Read("velmora.ini"), "[MensajeSOAP]\r\nRecibidos=2147483647\r\n");
  EXPECT_FALSE(core::ThreadContext().Config.UpdateAndSaveReceived());
  EXPECT_TRUE(g.LogHas("2024/02/03 09:05:07 CConfig.UpdateAndSaveReceived:(6)Desbordamiento"));
  // A read-only ini is refused as Windows refused it, not replaced by a writable copy.
  chmod(g.folder.Path("velmora.ini").c_str(), 0400);
  g.folder.Write("velmora.ini", "[MensajeSOAP]\r\nEnviados=1\r\n");
  EXPECT_FALSE(core::ThreadContext().Config.UpdateAndSaveSended());
  EXPECT_TRUE(g.LogHas("2024/02/03 09:05:07 CConfig.UpdateAndSaveSended:(70)Permiso denegado"));
  EXPECT_EQ(g.folder.Read("velmora.ini"), "[MensajeSOAP]\r\nEnviados=1\r\n");
}

TEST(Config, InternalResponseNeedsAFieldName) {
  ContextFixture f;
  auto& config = core::ThreadContext().Config;
  EXPECT_EQ(config.LoadInternalResponse("CodigoAviso"), "9999");
  EXPECT_EQ(config.LoadInternalResponse("Nada"), "");
  EXPECT_EQ(config.LoadInternalResponse(""), "");
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CConfig.LoadInternalResponse:(32011)El nombre del campo a buscar en el "
                       "archivo .ini para generar la respuesta por defecto no es válido"));
}

}  // namespace
}  // namespace velmora

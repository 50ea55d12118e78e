#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "core_test_support.h"

namespace velmora {
namespace {

using testing::CoreFixture;
using testing::RuntimeFolder;

std::string IniWith(const std::string& section, const std::string& key, const std::string& value) {
  std::string ini = RuntimeFolder::DefaultIni();
  const std::string header = "[" + section + "]\r\n";
  const size_t at = ini.find(header);
  const size_t keyAt = ini.find("\r\n" + key + "=", at);
  const size_t end = ini.find("\r\n", keyAt + 2);
  return ini.substr(0, keyAt + 2) + key + "=" + value + ini.substr(end);
}

TEST(Config, LoadsEveryKeyWithItsConversion) {
  CoreFixture f(IniWith("Configuracion", "TamanioMaximoLog", "1e3"));
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
  {
    CoreFixture f(IniWith("Configuracion", "EsquemaXML", std::string("\"") + kDefaultEsquemaXML + "\""));
    ASSERT_TRUE(core::ThreadContext().Config.LoadIni());
    EXPECT_EQ(core::ThreadContext().Config.EsquemaXML(), "1 ");
    EXPECT_EQ(core::ThreadContext().EsquemaXML, "1 ");
  }
  {
    CoreFixture f(IniWith("Configuracion", "EsquemaXML", ""));
    ASSERT_TRUE(core::ThreadContext().Config.LoadIni());
    EXPECT_EQ(core::ThreadContext().Config.EsquemaXML(), " ");
  }
  {
    // The usual ini value loses its trailing blank on reading, so it comes back whole.
    CoreFixture f;
    ASSERT_TRUE(core::ThreadContext().Config.LoadIni());
    EXPECT_EQ(core::ThreadContext().Config.EsquemaXML(), kDefaultEsquemaXML);
  }
}

TEST(Config, AuditarAndLogSizeConversions) {
  const std::pair<const char*, bool> auditar[] = {{"1", true}, {"2", false}, {"-1", false}, {"0", false}, {"1,4", true}};
  for (const auto& [text, expected] : auditar) {
    CoreFixture f(IniWith("Seguimiento", "Auditar", text));
    ASSERT_TRUE(core::ThreadContext().Config.LoadIni()) << text;
    EXPECT_EQ(core::ThreadContext().Config.Auditar, expected) << text;
  }
  const std::pair<const char*, int32_t> sizes[] = {{"", 0}, {"1e3", 1000}, {"12abc", 12}, {"2.5", 2}, {"abc", 0}};
  for (const auto& [text, expected] : sizes) {
    CoreFixture f(IniWith("Configuracion", "TamanioMaximoLog", text));
    ASSERT_TRUE(core::ThreadContext().Config.LoadIni()) << text;
    EXPECT_EQ(core::ThreadContext().Config.TamanioMaximoLog, expected) << text;
  }
}

TEST(Config, BadValuesFailTheLoadAndAreLogged) {
  struct Case {
    std::string ini;
    const char* line;
  } cases[] = {
      {IniWith("Seguimiento", "Auditar", ""), "CConfig.LoadIni:(13)No coinciden los tipos"},
      {IniWith("Configuracion", "GenerarLog", "si"), "CConfig.LoadIni:(13)No coinciden los tipos"},
      {IniWith("Asincrono", "PeticionTimeOut", "40000"), "CConfig.LoadIni:(6)Desbordamiento"},
      {"", "CConfig.LoadIni:(13)No coinciden los tipos"},  // no ini file at all
  };
  for (const auto& c : cases) {
    CoreFixture f(c.ini);
    auto& config = core::ThreadContext().Config;
    EXPECT_FALSE(config.LoadIni());
    EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 " + std::string(c.line))) << f.Log();
  }
  // Keys after the failing one keep what they held.
  CoreFixture f(IniWith("Asincrono", "AutoRespuesta", "x"));
  auto& config = core::ThreadContext().Config;
  config.EliminarXMLPeticion = 7;
  EXPECT_FALSE(config.LoadIni());
  EXPECT_EQ(config.PeticionTimeOut(), 5);
  EXPECT_EQ(config.EliminarXMLPeticion, 7);
}

TEST(Config, UnreadableIniFailsWithoutCrashing) {
  CoreFixture f("");
  std::filesystem::create_directory(f.folder.Path("velmora.ini"));  // unreadable as a file, even for root
  EXPECT_FALSE(core::ThreadContext().Config.LoadIni());
}

TEST(Config, WindowsFileIsReadAsItWasMeant) {
  std::string ini = RuntimeFolder::DefaultIni();
  ini.replace(ini.find("Respuesta interna"), 17, "Dispensaci\xF3n pendiente");
  ini.replace(ini.find("GenerarLog=1"), 12, "  GenerarLog =  1 \t");
  CoreFixture f(ini);
  auto& config = core::ThreadContext().Config;
  ASSERT_TRUE(config.LoadIni());
  EXPECT_EQ(config.GenerarLog, 1);
  EXPECT_EQ(config.LoadInternalResponse("TextoAviso"), "Dispensación pendiente");
}

TEST(Config, LongValuesComeBackCutToTheBuffer) {
  CoreFixture f(IniWith("Configuracion", "Servicio", std::string(300, 's')));
  ASSERT_TRUE(core::ThreadContext().Config.LoadIni());
  EXPECT_EQ(core::ThreadContext().Config.Servicio, std::string(254, 's'));
}

TEST(Config, SettersClampButLoadIniDoesNot) {
  CoreFixture f(IniWith("Asincrono", "IntervaloComprobacion", "0"));
  auto& config = core::ThreadContext().Config;
  ASSERT_TRUE(config.LoadIni());
  EXPECT_EQ(config.IntervaloComprobacion(), 0);
  config.PeticionTimeOut(0);
  EXPECT_EQ(config.PeticionTimeOut(), 60);
  config.PeticionTimeOut(-45);
  EXPECT_EQ(config.PeticionTimeOut(), 45);
  config.PeticionTimeOut(60);
  for (int16_t v : {int16_t{60}, int16_t{61}, int16_t{0}}) {
    config.IntervaloComprobacion(v);
    EXPECT_EQ(config.IntervaloComprobacion(), 20) << v;
  }
  config.IntervaloComprobacion(59);
  EXPECT_EQ(config.IntervaloComprobacion(), 59);
  config.PeticionTimeOut(10);
  config.IntervaloComprobacion(0);
  EXPECT_EQ(config.IntervaloComprobacion(), 3);
}

TEST(Config, CountersAdvanceAndAMissingKeyIsLogged) {
  CoreFixture f(IniWith("MensajeSOAP", "Enviados", "7"));
  auto& config = core::ThreadContext().Config;
  EXPECT_TRUE(config.UpdateAndSaveSended());
  EXPECT_EQ(GetPrivateProfileStringEx(config.IniFile, "MensajeSOAP", "Enviados"), "8");
  EXPECT_TRUE(config.UpdateAndSaveReceived());
  EXPECT_EQ(GetPrivateProfileStringEx(config.IniFile, "MensajeSOAP", "Recibidos"), "1");

  CoreFixture g("[MensajeSOAP]\r\nRecibidos=2147483647\r\n");
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
  CoreFixture f;
  auto& config = core::ThreadContext().Config;
  EXPECT_EQ(config.LoadInternalResponse("CodigoAviso"), "9999");
  EXPECT_EQ(config.LoadInternalResponse("Nada"), "");
  EXPECT_EQ(config.LoadInternalResponse(""), "");
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CConfig.LoadInternalResponse:(32011)El nombre del campo a buscar en el "
                       "archivo .ini para generar la respuesta por defecto no es válido"));
}

}  // namespace
}  // namespace velmora
